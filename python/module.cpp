// The module idphoto._native. What users see, with words and examples, is in the package's Python files.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "codec/codec.h"
#include "orders/describe.h"
#include "orders/order.h"
#include "orders/presets.h"
#include "photo/base/failure.h"
#include "python/arrays.h"
#include "python/failures.h"
#include "python/forked.h"
#include "python/photograph.h"
#include "python/studios.h"

namespace qx::python {
namespace py = pybind11;
namespace {

// Runs without the interpreter's lock: other threads of Python go on.
template <typename Work>
auto Unlocked(Work work) {
  CheckNotForked();
  const py::gil_scoped_release unlocked;
  return work();
}

codec::PrintFormat ParseFormat(const std::string& name) {
  if (name == "jpg") return codec::PrintFormat::kJpeg;
  if (name == "png") return codec::PrintFormat::kPng;
  if (name == "tiff") return codec::PrintFormat::kTiff;
  throw py::value_error("the format is jpg, png or tiff");
}

const char* NameOfFormat(codec::PrintFormat format) {
  return orders::EndingOf(format) + 1;
}

template <typename Container>
py::bytes ToBytes(const Container& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

py::object ArrayOf(const photo::Image* image, const std::string& order) {
  return image != nullptr ? py::object(ToArray(*image, ParseChannelOrder(order))) : py::object(py::none());
}

py::object ArrayOf(const photo::Mask* mask) {
  return mask != nullptr && !mask->values.empty() ? py::object(ToArray(*mask)) : py::object(py::none());
}

py::tuple Encoded(const Finished& finished, const std::string& format) {
  const codec::PrintFormat kind = ParseFormat(format);
  const EncodedPicture file = Unlocked([&] { return finished.encode(kind); });
  return py::make_tuple(ToBytes(file.bytes), ToBytes(file.comparison), file.report);
}

void BindFinished(py::module_& module) {
  py::class_<Finished>(module, "Finished")
      .def_property_readonly("format", [](const Finished& f) { return NameOfFormat(f.format); })
      .def_property_readonly("has_image", [](const Finished& f) { return f.image != nullptr; })
      .def("image", [](const Finished& f, const std::string& order) { return ArrayOf(f.image.get(), order); })
      .def("alpha", [](const Finished& f) { return ArrayOf(f.alpha.get()); })
      .def("before", [](const Finished& f, const std::string& order) { return ArrayOf(f.before.get(), order); })
      .def("encode", Encoded);
}

// A call of Studios on one photograph.
template <typename Result>
auto Call(Result (Studios::*call)(const Photograph&, const orders::OptionPairs&)) {
  return [call](Studios& studios, py::handle object, const std::string& order, const orders::OptionPairs& options) {
    const Photograph photograph(object, ParseChannelOrder(order));
    return Unlocked([&] { return (studios.*call)(photograph, options); });
  };
}

Finished Make(Studios& studios, py::handle object, const std::string& order, const py::object& mask,
              const orders::OptionPairs& options) {
  const Photograph photograph(object, ParseChannelOrder(order));
  std::optional<MaskOfPersons> persons;
  if (!mask.is_none()) persons.emplace(mask);
  return Unlocked([&] { return studios.Make(photograph, persons ? &*persons : nullptr, options); });
}

void BindStudios(py::module_& module) {
  py::class_<Studios, std::shared_ptr<Studios>>(module, "Studios")
      .def(py::init<>())
      .def("make", Make)
      .def("crop", Call(&Studios::Crop))
      .def("retouch", Call(&Studios::Retouch))
      .def("mask", Call(&Studios::CutOut))
      .def("background", Call(&Studios::Background))
      .def("inspect", Call(&Studios::Inspect))
      .def("check", Call(&Studios::Check))
      .def("draw_faces", Call(&Studios::DrawFaces))
      .def("draw_check", Call(&Studios::DrawCheck))
      .def_property_readonly("made", &Studios::Made);
}

// The same where no studio is needed.
auto Call(Finished (*call)(const Photograph&, const orders::OptionPairs&)) {
  return [call](py::handle object, const std::string& order, const orders::OptionPairs& options) {
    const Photograph photograph(object, ParseChannelOrder(order));
    return Unlocked([&] { return call(photograph, options); });
  };
}

Finished Sheet(const std::vector<py::object>& objects, const std::string& order, const std::vector<std::string>& copies,
               const orders::OptionPairs& options) {
  if (objects.empty() || copies.size() != objects.size()) throw py::value_error("one number of copies a photograph");
  std::vector<Photograph> photographs;
  for (const py::object& object : objects) photographs.emplace_back(object, ParseChannelOrder(order));
  return Unlocked([&] { return DrawSheet(photographs, copies, options); });
}

std::string Presets(const orders::OptionPairs& options) {
  const auto order = orders::ParseOrder("presets", options);
  const auto& presets = static_cast<const orders::PresetsOrder&>(*order);
  return presets.name.empty() ? orders::PresetsJson(presets.Found())
                              : orders::PresetJson(photo::FindPreset(presets.name));
}

py::array_t<uint8_t> Read(py::handle object, const std::string& order, int64_t maxPixels) {
  const ChannelOrder channels = ParseChannelOrder(order);
  const Photograph photograph(object, channels);
  return ToArray(Unlocked([&] { return photograph.Whole({maxPixels}); }), channels);
}

// Pixels and opacity of a file; None for an opacity of 255 throughout.
py::tuple ReadPicture(py::handle file, const std::string& order) {
  const ChannelOrder channels = ParseChannelOrder(order);
  const Photograph photograph(file, channels);
  const codec::TransparentPicture picture = Unlocked([&] {
    const auto source = photograph.File({codec::kHighestMaxPixels});
    auto transparent = source->Transparent();
    return transparent ? std::move(*transparent) : codec::TransparentPicture{source->Whole(), {}};
  });
  return py::make_tuple(ToArray(picture.colours, channels), ArrayOf(&picture.opacity));
}

py::bytes Encode(py::handle array, const std::string& format, const std::string& order, int32_t dpi) {
  const codec::PrintFormat kind = ParseFormat(format);
  const ArrayView view(array, 3);
  const ChannelOrder channels = ParseChannelOrder(order);
  return ToBytes(Unlocked([&] {
    const photo::Image image = photo::CopyOf(view.View(channels));
    if (dpi != 0) return codec::EncodePrint(image, kind, dpi);
    if (kind == codec::PrintFormat::kTiff) {
      throw photo::Failure(photo::FailureCode::kBadOption, "a TIFF file wants a resolution; say dpi",
                           {{"option", "dpi"}});
    }
    return codec::EncodeImage(image,
                              kind == codec::PrintFormat::kPng ? codec::ImageFormat::kPng : codec::ImageFormat::kJpeg);
  }));
}

const char* NameOfKind(orders::OptionFacts::Kind kind) {
  switch (kind) {
    case orders::OptionFacts::Kind::kFlag: return "bool";
    case orders::OptionFacts::Kind::kWhole: return "int";
    case orders::OptionFacts::Kind::kNumber: return "float";
    default: return "str";
  }
}

// Of each the name, the kind of its values and what it is for.
std::vector<std::tuple<std::string, std::string, std::string>> Options(const std::string& command) {
  std::vector<std::tuple<std::string, std::string, std::string>> options;
  for (const orders::OptionFacts& option : orders::DescribeOptions(command)) {
    options.emplace_back(option.name, NameOfKind(option.kind), option.help);
  }
  return options;
}

}  // namespace

PYBIND11_MODULE(_native, module) {
  // Never ended: at the interpreter's end threads of its may still be at work.
  static const auto* const library = new codec::ImageLibrary;
  static_cast<void>(library);
  WatchForks();
  TranslateFailures();
  BindFinished(module);
  BindStudios(module);
  module.def("sheet", Sheet);
  module.def("compress", Call(Compress));
  module.def("watermark", Call(Watermark));
  module.def("presets", Presets);
  module.def("read", Read);
  module.def("read_picture", ReadPicture);
  module.def("encode", Encode);
  module.def("options", Options);
}

}  // namespace qx::python
