#include "python/studios.h"

#include <algorithm>
#include <utility>

#include "orders/check.h"
#include "orders/check_json.h"
#include "orders/crop.h"
#include "orders/inspect.h"
#include "orders/make.h"
#include "orders/retouch.h"
#include "orders/sheet.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/render/retouch.h"
#include "photo/sheet/sheet.h"

namespace qx::python {
namespace {

// A settled order of a command whose class is known.
template <typename Kind>
std::shared_ptr<Kind> Parsed(const char* command, const orders::OptionPairs& options) {
  const codec::Limits most{codec::kHighestMaxPixels};
  std::shared_ptr<orders::Order> order = orders::ParseOrder(command, options, most);
  // As on the command line, the usual limit may be raised, by those who ask for it.
  const bool isLimited =
      std::any_of(options.begin(), options.end(), [](const auto& option) { return option.first == "max-megapixels"; });
  if (!isLimited) order->limits = codec::Limits();
  return std::static_pointer_cast<Kind>(order);
}

// Of pictures: JPEG or PNG.
codec::ImageFormat PictureFormat(codec::PrintFormat format) {
  if (format == codec::PrintFormat::kTiff) {
    throw photo::Failure(photo::FailureCode::kBadOption, "only sheets are written as TIFF; choose jpg or png",
                         {{"option", "format"}});
  }
  return format == codec::PrintFormat::kPng ? codec::ImageFormat::kPng : codec::ImageFormat::kJpeg;
}

// What the finished file's report calls it: the place is not known yet.
std::string OutputName(const std::string& photograph, codec::PrintFormat format) {
  return orders::StemOf(photograph) + orders::EndingOf(format);
}

// An array has no file whose size or resolution could be right or wrong.
void LeaveOutFile(photo::PhotoCheck* check) {
  auto& lines = check->lines;
  lines.erase(std::remove_if(
                  lines.begin(), lines.end(),
                  [](const photo::CheckLine& line) { return line.name == "file size" || line.name == "resolution"; }),
              lines.end());
}

}  // namespace

std::unique_ptr<photo::Studio> Studios::Take() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!free_.empty()) {
      std::unique_ptr<photo::Studio> studio = std::move(free_.back());
      free_.pop_back();
      return studio;
    }
    ++made_;
  }
  return std::make_unique<photo::Studio>();
}

template <typename Work>
auto Studios::With(Work work) {
  struct Loan {
    explicit Loan(Studios* from) : owner(from), studio(from->Take()) {}
    ~Loan() {
      const std::lock_guard<std::mutex> lock(owner->mutex_);
      owner->free_.push_back(std::move(studio));
    }
    Studios* owner;
    std::unique_ptr<photo::Studio> studio;
  };
  const Loan loan(this);
  return work(*loan.studio);
}

size_t Studios::Made() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return made_;
}

Finished Studios::Make(const Photograph& photograph, const MaskOfPersons* mask, const orders::OptionPairs& options) {
  const auto order = Parsed<orders::MakeOrder>("make", options);
  const auto source = photograph.Source(order->limits);
  photo::Mask given;
  if (mask != nullptr) given = mask->For(*source, order->limits);
  auto made = std::make_shared<photo::MadePhoto>(With([&](photo::Studio& studio) {
    return studio.Make(*source, order->Faces(), order->Request(), mask != nullptr ? &given : nullptr);
  }));
  const codec::PrintFormat format = orders::PrintFormatOf(order->Format());
  const auto encode = [order, made, name = photograph.Name()](codec::PrintFormat kind) {
    orders::MakeOrder another = *order;
    another.format = PictureFormat(kind);
    const orders::MadeFile file = another.Finish(*made);
    return EncodedPicture{file.file.bytes, file.comparison, another.Report(name, OutputName(name, kind), file)};
  };
  return {made->image, made->alpha, made->before, format, 0, encode};
}

std::vector<Finished> Studios::Crop(const Photograph& photograph, const orders::OptionPairs& options) {
  const auto order = Parsed<orders::CropOrder>("crop", options);
  const photo::Image whole = photograph.Whole(order->limits);
  std::vector<Finished> crops;
  for (photo::Image& image : With([&](photo::Studio& studio) { return studio.Crop(whole, order->settings); })) {
    const auto crop = std::make_shared<photo::Image>(std::move(image));
    const auto encode = [crop](codec::PrintFormat kind) {
      return EncodedPicture{codec::EncodeImage(*crop, PictureFormat(kind)), {}, {}};
    };
    crops.push_back({*crop, {}, std::nullopt, orders::PrintFormatOf(order->format), 0, encode});
  }
  return crops;
}

Finished Studios::Retouch(const Photograph& photograph, const orders::OptionPairs& options) {
  const auto order = Parsed<orders::RetouchOrder>("retouch", options);
  photo::Image whole = photograph.Whole(order->limits);
  const auto retouched = std::make_shared<photo::RetouchedPhoto>(
      With([&](photo::Studio& studio) { return studio.Retouch(std::move(whole), order->Wanted(), order->person); }));
  const auto encode = [order, retouched](codec::PrintFormat kind) {
    orders::RetouchOrder another = *order;
    another.format = PictureFormat(kind);
    const orders::RetouchedFile file = another.Finish(*retouched);
    return EncodedPicture{file.bytes, file.comparison, {}};
  };
  return {retouched->after, {}, retouched->before, orders::PrintFormatOf(order->format), retouched->faces, encode};
}

std::string Studios::Inspect(const Photograph& photograph, const orders::OptionPairs& options) {
  const auto order = Parsed<orders::InspectOrder>("inspect", options);
  const photo::Image whole = photograph.Whole(order->limits);
  const auto faces = With([&](photo::Studio& studio) { return studio.Inspect(whole); });
  return order->Report(photograph.Name(), whole.width, whole.height, faces);
}

std::string Studios::Check(const Photograph& photograph, const orders::OptionPairs& options) {
  const auto order = Parsed<orders::CheckOrder>("check", options);
  auto check = With([&](photo::Studio& studio) {
    if (photograph.IsArray()) return studio.Check(photograph.Whole(order->limits), {}, order->Preset(), order->child);
    const auto file = photograph.File(order->limits);
    return order->Look(file->Whole(), *file, studio);
  });
  if (photograph.IsArray()) LeaveOutFile(&check);
  return orders::CheckJson(photograph.Name(), order->Preset().name, check);
}

Finished DrawSheet(const std::vector<Photograph>& photographs, const std::vector<std::string>& copies,
                   const orders::OptionPairs& options) {
  const auto order = Parsed<orders::SheetOrder>("sheet", options);
  std::vector<photo::SheetPhotograph> taken;
  for (size_t i = 0; i < photographs.size(); ++i) {
    orders::SheetOrder own = *order;
    if (!copies[i].empty()) own.copies = copies[i] == "0" ? std::nullopt : std::optional<int>(std::stoi(copies[i]));
    const std::string name = photo::Printable(photographs[i].Name());
    const auto file = photographs[i].File(own.limits);
    taken.push_back(own.Take(*file, name.empty() ? "photograph " + std::to_string(i + 1) : name));
  }
  const orders::SheetFile sheet = order->Draw(taken);
  const auto image = std::make_shared<photo::Image>(photo::DrawSheet(sheet.layout, sheet.pictures));
  const auto encode = [image, dpi = sheet.spec.dpi](codec::PrintFormat kind) {
    return EncodedPicture{codec::EncodePrint(*image, kind, dpi), {}, {}};
  };
  return {*image, {}, std::nullopt, order->format, 0, encode};
}

}  // namespace qx::python
