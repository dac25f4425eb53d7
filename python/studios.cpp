#include "python/studios.h"

#include <algorithm>
#include <utility>

#include "orders/check.h"
#include "orders/check_json.h"
#include "orders/crop.h"
#include "orders/inspect.h"
#include "orders/make.h"
#include "orders/retouch.h"
#include "photo/drawing/draw_check.h"
#include "photo/render/retouch.h"
#include "python/parsed.h"

namespace qx::python {
namespace {

// An array has no file whose size or resolution could be right or wrong.
void LeaveOutFile(photo::PhotoCheck* check) {
  auto& lines = check->lines;
  lines.erase(std::remove_if(
                  lines.begin(), lines.end(),
                  [](const photo::CheckLine& line) { return line.name == "file size" || line.name == "resolution"; }),
              lines.end());
}

photo::PhotoCheck CheckOf(const Photograph& photograph, const orders::CheckOrder& order, photo::Studio& studio,
                          photo::Image* whole) {
  if (!photograph.IsArray()) {
    const auto file = photograph.File(order.limits);
    *whole = file->Whole();
    return order.Look(*whole, *file, studio);
  }
  *whole = photograph.Whole(order.limits);
  auto check = studio.Check(*whole, {}, order.Preset(), order.child);
  LeaveOutFile(&check);
  return check;
}

// A drawing and what it is drawn from.
Finished Drawing(photo::Image drawn, codec::PrintFormat format, const std::string& report) {
  const auto image = std::make_shared<const photo::Image>(std::move(drawn));
  const auto encode = [image, report](codec::PrintFormat kind) {
    return EncodedPicture{codec::EncodeImage(*image, PictureFormat(kind)), {}, report};
  };
  return {image, nullptr, nullptr, format, encode};
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
  }
  auto studio = std::make_unique<photo::Studio>();
  const std::lock_guard<std::mutex> lock(mutex_);
  free_.reserve(++made_);  // so that giving it back cannot fail
  return studio;
}

void Studios::GiveBack(std::unique_ptr<photo::Studio> studio) {
  const std::lock_guard<std::mutex> lock(mutex_);
  free_.push_back(std::move(studio));
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
  const auto made = std::make_shared<const photo::MadePhoto>(With([&](photo::Studio& studio) {
    return studio.Make(*source, order->Faces(), order->Request(), mask != nullptr ? &given : nullptr);
  }));
  const auto encode = [order, made, name = photograph.Name()](codec::PrintFormat kind) {
    orders::MakeOrder another = *order;
    another.format = PictureFormat(kind);
    const orders::MadeFile file = another.Finish(*made);
    return EncodedPicture{file.file.bytes, file.comparison, another.Report(name, OutputName(name, kind), file)};
  };
  const photo::Image* const before = made->before ? &*made->before : nullptr;
  return {{made, &made->image}, {made, &made->alpha}, {made, before}, orders::PrintFormatOf(order->Format()), encode};
}

std::vector<Finished> Studios::Crop(const Photograph& photograph, const orders::OptionPairs& options) {
  const auto order = Parsed<orders::CropOrder>("crop", options);
  std::vector<photo::Image> images = photograph.WithPixels(order->limits, [&](const photo::PixelView& whole) {
    return With([&](photo::Studio& studio) { return studio.Crop(whole, order->settings); });
  });
  std::vector<Finished> crops;
  for (photo::Image& image : images) {
    const std::string report = "{\"face\": " + std::to_string(crops.size() + 1) + "}";
    crops.push_back(Drawing(std::move(image), orders::PrintFormatOf(order->format), report));
  }
  return crops;
}

Finished Studios::Retouch(const Photograph& photograph, const orders::OptionPairs& options) {
  const auto order = Parsed<orders::RetouchOrder>("retouch", options);
  photo::Image whole = photograph.Whole(order->limits);
  const auto retouched = std::make_shared<const photo::RetouchedPhoto>(
      With([&](photo::Studio& studio) { return studio.Retouch(std::move(whole), order->Wanted(), order->person); }));
  const auto encode = [order, retouched](codec::PrintFormat kind) {
    orders::RetouchOrder another = *order;
    another.format = PictureFormat(kind);
    const orders::RetouchedFile file = another.Finish(*retouched);
    return EncodedPicture{file.bytes, file.comparison, "{\"faces\": " + std::to_string(retouched->faces) + "}"};
  };
  return {{retouched, &retouched->after},
          nullptr,
          {retouched, &retouched->before},
          orders::PrintFormatOf(order->format),
          encode};
}

std::string Studios::Inspect(const Photograph& photograph, const orders::OptionPairs& options) {
  const auto order = Parsed<orders::InspectOrder>("inspect", options);
  return photograph.WithPixels(order->limits, [&](const photo::PixelView& whole) {
    const auto faces = With([&](photo::Studio& studio) { return studio.Inspect(whole); });
    return order->Report(photograph.Name(), whole.width, whole.height, faces);
  });
}

Finished Studios::DrawFaces(const Photograph& photograph, const orders::OptionPairs& options) {
  const auto order = Parsed<orders::InspectOrder>("inspect", options);
  const photo::Image whole = photograph.Whole(order->limits);
  const auto faces = With([&](photo::Studio& studio) { return studio.Inspect(whole); });
  return Drawing(photo::DrawFaces(whole, faces, order->points), orders::PrintFormatOf(order->format),
                 order->Report(photograph.Name(), whole.width, whole.height, faces));
}

std::string Studios::Check(const Photograph& photograph, const orders::OptionPairs& options) {
  const auto order = Parsed<orders::CheckOrder>("check", options);
  photo::Image whole;
  const auto check = With([&](photo::Studio& studio) { return CheckOf(photograph, *order, studio, &whole); });
  return orders::CheckJson(photograph.Name(), order->Preset().name, check);
}

Finished Studios::DrawCheck(const Photograph& photograph, const orders::OptionPairs& options) {
  const auto order = Parsed<orders::CheckOrder>("check", options);
  photo::Image whole;
  const auto check = With([&](photo::Studio& studio) { return CheckOf(photograph, *order, studio, &whole); });
  return Drawing(photo::DrawCheck(whole, check), codec::PrintFormat::kPng,
                 orders::CheckJson(photograph.Name(), order->Preset().name, check));
}

}  // namespace qx::python
