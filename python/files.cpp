// Pictures whose file is made straight from the photograph's: of an array, from those of a PNG that holds it.
#include <algorithm>
#include <utility>

#include "orders/background.h"
#include "orders/compress.h"
#include "orders/mask.h"
#include "orders/sheet.h"
#include "orders/watermark.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/sheet/sheet.h"
#include "python/parsed.h"
#include "python/studios.h"

namespace qx::python {
namespace {

std::vector<uint8_t> BytesOf(orders::BackgroundFile* file) {
  return std::move(file->bytes);
}

template <typename File>
std::vector<uint8_t> BytesOf(File* file) {
  return std::move(file->file.bytes);
}

// `change(order, source)`: the file that the order makes.
template <typename Kind, typename Change>
Finished OfFile(const Photograph& photograph, const std::shared_ptr<Kind>& order, codec::ImageFormat format,
                Change change) {
  const auto file = std::make_shared<const photo::Bytes>(photograph.FileBytes(order->limits));
  const auto encode = [file, order, change, name = photograph.Name()](codec::PrintFormat kind) {
    Kind another = *order;
    another.format = PictureFormat(kind);
    another.Settle();  // a format may not hold what is asked for
    codec::FileSource source(*file, another.limits);
    auto made = change(another, source);
    std::string report = another.Report(name, OutputName(name, kind), made);
    return EncodedPicture{BytesOf(&made), {}, std::move(report)};
  };
  return {nullptr, nullptr, nullptr, orders::PrintFormatOf(format), encode};
}

// Its mask as a picture: white where the person is.
std::shared_ptr<const photo::Image> PictureOf(const photo::Mask& mask) {
  const auto picture = std::make_shared<photo::Image>(mask.width, mask.height);
  uint8_t* to = picture->bgr.data();
  for (const uint8_t value : mask.values) to = std::fill_n(to, 3, value);
  return picture;
}

}  // namespace

Finished Studios::CutOut(const Photograph& photograph, const orders::OptionPairs& options) {
  const auto order = Parsed<orders::MaskOrder>("mask", options);
  const auto source = photograph.Source(order->limits);
  const auto made = std::make_shared<const photo::CutOut>(
      With([&](photo::Studio& studio) { return studio.CutOut(*source, order->Request()); }));
  const auto encode = [order, made, name = photograph.Name()](codec::PrintFormat kind) {
    if (kind != codec::PrintFormat::kPng) {
      throw photo::Failure(photo::FailureCode::kBadOption, "masks and cut-outs are PNG files, which lose nothing",
                           {{"option", "format"}});
    }
    return EncodedPicture{order->wantsCutOut ? order->EncodeCutOut(*made) : codec::EncodeMask(made->mask),
                          {},
                          order->Report(name, {OutputName(name, kind)}, *made)};
  };
  const std::shared_ptr<const photo::Mask> mask(made, &made->mask);
  if (!order->wantsCutOut) return {PictureOf(*mask), mask, nullptr, codec::PrintFormat::kPng, encode};
  return {{made, &made->colours}, mask, nullptr, codec::PrintFormat::kPng, encode};
}

Finished Studios::Background(const Photograph& photograph, const orders::OptionPairs& options) {
  const auto order = Parsed<orders::BackgroundOrder>("background", options);
  const bool isOpaque = !order->Wanted().IsTransparent();
  const auto format = order->format.value_or(isOpaque ? codec::ImageFormat::kJpeg : codec::ImageFormat::kPng);
  // The picture may live longer than the object that made it.
  const auto change = [self = shared_from_this()](const orders::BackgroundOrder& wanted, codec::FileSource& source) {
    return self->With([&](photo::Studio& studio) { return wanted.Change(source, studio); });
  };
  return OfFile(photograph, order, format, change);
}

Finished Compress(const Photograph& photograph, const orders::OptionPairs& options) {
  const auto order = Parsed<orders::CompressOrder>("compress", options);
  const auto change = [](const orders::CompressOrder& wanted, codec::FileSource& source) {
    return wanted.Compress(source);
  };
  return OfFile(photograph, order, order->format, change);
}

Finished Watermark(const Photograph& photograph, const orders::OptionPairs& options) {
  const auto order = Parsed<orders::WatermarkOrder>("watermark", options);
  const auto change = [](const orders::WatermarkOrder& wanted, codec::FileSource& source) {
    return wanted.Mark(source);
  };
  return OfFile(photograph, order, order->format, change);
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
  const auto image = std::make_shared<const photo::Image>(photo::DrawSheet(sheet.layout, sheet.pictures));
  const auto encode = [image, dpi = sheet.spec.dpi](codec::PrintFormat kind) {
    return EncodedPicture{codec::EncodePrint(*image, kind, dpi), {}, "{}"};
  };
  return {image, nullptr, nullptr, order->format, encode};
}

}  // namespace qx::python
