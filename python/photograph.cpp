#include "python/photograph.h"

#include <utility>
#include <vector>

#include "photo/base/failure.h"

namespace qx::python {
namespace py = pybind11;

Photograph::Photograph(py::handle object, ChannelOrder order) : order_(order) {
  if (py::isinstance<py::str>(object)) {
    PyObject* converted = nullptr;  // refused with a byte of 0 within, where a name would end
    if (PyUnicode_FSConverter(object.ptr(), &converted) == 0) throw py::error_already_set();
    const auto encoded = py::reinterpret_steal<py::bytes>(converted);
    path_ = std::string(encoded);
  } else if (py::isinstance<py::bytes>(object)) {
    kept_ = py::reinterpret_borrow<py::object>(object);
    bytes_ = std::string_view(PyBytes_AS_STRING(object.ptr()), static_cast<size_t>(PyBytes_GET_SIZE(object.ptr())));
  } else {
    array_.emplace(object, 3);
  }
}

photo::Bytes Photograph::FileBytes(const codec::Limits& limits) const {
  if (array_) {
    const std::vector<uint8_t> file = codec::EncodeImage(Whole(limits), codec::ImageFormat::kPng);
    return {file.begin(), file.end()};
  }
  return kept_ ? photo::Bytes(bytes_.begin(), bytes_.end()) : codec::ReadFileBytes(path_, limits);
}

std::unique_ptr<codec::FileSource> Photograph::File(const codec::Limits& limits) const {
  return std::make_unique<codec::FileSource>(FileBytes(limits), limits);
}

std::unique_ptr<photo::PhotoSource> Photograph::Source(const codec::Limits& limits) const {
  if (array_) return std::make_unique<photo::ViewSource>(array_->View(order_));
  return File(limits);
}

photo::Image Photograph::Whole(const codec::Limits& limits) const {
  return array_ ? photo::CopyOf(array_->View(order_)) : File(limits)->Whole();
}

MaskOfPersons::MaskOfPersons(py::handle object) {
  if (py::isinstance<py::str>(object) || py::isinstance<py::bytes>(object)) {
    file_.emplace(object, ChannelOrder::kRgb);
  } else {
    array_.emplace(object, 1);
  }
}

photo::Mask MaskOfPersons::For(photo::PhotoSource& source, const codec::Limits& limits) const {
  try {
    if (array_) return array_->Mask();
    return codec::ReadMask(file_->FileBytes(limits), source.Width(), source.Height(), limits);
  } catch (const photo::Failure& failure) {
    throw photo::Failure(failure.Code(), std::string("the mask: ") + failure.what(), failure.Fields());
  }
}

}  // namespace qx::python
