#include <cstddef>
#include <utility>

#include "codec/codec.h"
#include "codec/document.h"
#include "photo/base/failure.h"
#include "wasm/codec/jpeg.h"
#include "wasm/codec/pixels.h"
#include "wasm/codec/png.h"

namespace qx::codec {
namespace {

class Encoder final : public PictureEncoder {
 public:
  Encoder(const photo::Image& image, const photo::Mask& opacity, std::optional<int32_t> dpi)
      : width_(image.width),
        height_(image.height),
        channels_(opacity.values.empty() ? 3 : 4),
        dpi_(dpi),
        samples_(SamplesOf(image, opacity)) {}

  std::vector<uint8_t> Png() const override { return WritePng(samples_, width_, height_, channels_, dpi_); }
  std::vector<uint8_t> Jpeg(int quality, bool isFullColour, bool isOptimised) const override {
    return WriteJpeg(samples_, width_, height_, quality, isFullColour, isOptimised);
  }

 private:
  const int32_t width_, height_;
  const int channels_;
  const std::optional<int32_t> dpi_;
  const photo::Bytes samples_;
};

}  // namespace

std::vector<uint8_t> EncodeImage(const photo::Image& image, ImageFormat format, const photo::Mask& opacity) {
  CheckOpacity(image, opacity, format);
  const Encoder encoder(image, opacity, std::nullopt);
  return format == ImageFormat::kJpeg ? encoder.Jpeg(kUsualQuality, true, false) : encoder.Png();
}

std::vector<uint8_t> EncodeForScreen(const photo::Image& image, int quality) {
  return Encoder(image, {}, std::nullopt).Jpeg(quality, true, true);
}

std::vector<uint8_t> EncodeMask(const photo::Mask& mask) {
  return WritePng(mask.values, mask.width, mask.height, 1, std::nullopt);
}

EncodedDocument EncodeDocument(const photo::Image& image, ImageFormat format, int32_t dpi, std::optional<int32_t> minKb,
                               std::optional<int32_t> maxKb, const photo::Mask& opacity) {
  CheckOpacity(image, opacity, format);
  return FitDocument(Encoder(image, opacity, dpi), format, dpi, LimitsOf(minKb, maxKb), !opacity.values.empty());
}

std::vector<uint8_t> EncodePrint(const photo::Image& image, PrintFormat format, int32_t dpi) {
  if (format == PrintFormat::kTiff) {
    throw photo::Failure(photo::FailureCode::kBadOption, "no TIFF files are written here; choose jpg or png",
                         {{"option", "format"}});
  }
  const ImageFormat other = format == PrintFormat::kJpeg ? ImageFormat::kJpeg : ImageFormat::kPng;
  return EncodeDocument(image, other, dpi, std::nullopt, std::nullopt).bytes;
}

}  // namespace qx::codec
