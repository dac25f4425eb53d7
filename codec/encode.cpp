#include "codec/encode.h"

#include <cstddef>
#include <memory>

#include "codec/library.h"
#include "photo/document/units.h"

namespace qx::codec {
using vips::VImage;
namespace {

photo::Bytes RedGreenBlue(const photo::Image& image) {
  photo::Bytes samples(image.bgr.size());
  for (size_t i = 0; i + 2 < samples.size(); i += 3) {
    samples[i] = image.bgr[i + 2];
    samples[i + 1] = image.bgr[i + 1];
    samples[i + 2] = image.bgr[i];
  }
  return samples;
}

// The library only reads the samples, which outlive its image.
VImage Wrapped(const photo::Bytes& samples, int32_t width, int32_t height) {
  const size_t bands = samples.size() / (static_cast<size_t>(width) * static_cast<size_t>(height));
  return VImage::new_from_memory(const_cast<uint8_t*>(samples.data()), samples.size(), width, height,
                                 static_cast<int>(bands), VIPS_FORMAT_UCHAR);
}

std::vector<uint8_t> TakeBytes(VipsBlob* blob) {
  const std::unique_ptr<VipsBlob, void (*)(VipsBlob*)> owner(blob, [](VipsBlob* b) { vips_area_unref(VIPS_AREA(b)); });
  size_t size = 0;
  const auto* bytes = static_cast<const uint8_t*>(vips_blob_get(blob, &size));
  return {bytes, bytes + size};
}

}  // namespace

Encoder::Encoder(const photo::Image& image, const photo::Mask& opacity, std::optional<int32_t> dpi) {
  if (opacity.values.empty()) {
    samples_ = RedGreenBlue(image);
    rgb_ = Wrapped(samples_, image.width, image.height);
  } else {
    // A cut-out may be a whole photograph: its samples change their order as they are written, without a copy.
    const VImage bgr = Wrapped(image.bgr, image.width, image.height);
    rgb_ = VImage::bandjoin({bgr[2], bgr[1], bgr[0], Wrapped(opacity.values, image.width, image.height)});
  }
  auto* options = VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB);
  if (dpi) options->set("xres", *dpi / photo::kMillimetresPerInch)->set("yres", *dpi / photo::kMillimetresPerInch);
  rgb_ = rgb_.copy(options);
}

std::vector<uint8_t> Encoder::Png() const {
  return TakeBytes(rgb_.pngsave_buffer(VImage::option()->set("strip", true)));
}

std::vector<uint8_t> Encoder::Jpeg(int quality, bool isFullColour, bool isOptimised) const {
  return TakeBytes(rgb_.jpegsave_buffer(
      VImage::option()
          ->set("strip", true)
          ->set("Q", quality)
          ->set("optimize_coding", isOptimised)
          ->set("subsample_mode", isFullColour ? VIPS_FOREIGN_SUBSAMPLE_OFF : VIPS_FOREIGN_SUBSAMPLE_ON)));
}

std::vector<uint8_t> Encoder::Tiff() const {
  return TakeBytes(rgb_.tiffsave_buffer(VImage::option()
                                            ->set("strip", true)
                                            ->set("compression", VIPS_FOREIGN_TIFF_COMPRESSION_LZW)
                                            ->set("predictor", VIPS_FOREIGN_TIFF_PREDICTOR_HORIZONTAL)
                                            ->set("resunit", VIPS_FOREIGN_TIFF_RESUNIT_INCH)));
}

photo::Failure EncodingFailure(const std::string& message) {
  if (IsAboutMemory(message)) return MemoryFailure();
  return {photo::FailureCode::kOutOfMemory, "the picture cannot be encoded (" + message + ")"};
}

std::vector<uint8_t> EncodeImage(const photo::Image& image, ImageFormat format, const photo::Mask& opacity) {
  CheckOpacity(image, opacity, format);
  return UseLibrary(
      [&] {
        const Encoder encoder(image, opacity, std::nullopt);
        return format == ImageFormat::kJpeg ? encoder.Jpeg(kUsualQuality, true, false) : encoder.Png();
      },
      EncodingFailure);
}

std::vector<uint8_t> EncodeForScreen(const photo::Image& image, int quality) {
  return UseLibrary([&] { return Encoder(image, {}, std::nullopt).Jpeg(quality, true, true); }, EncodingFailure);
}

std::vector<uint8_t> EncodeMask(const photo::Mask& mask) {
  return UseLibrary(
      [&] {
        const VImage grey = Wrapped(mask.values, mask.width, mask.height)
                                .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_B_W));
        return TakeBytes(grey.pngsave_buffer(VImage::option()->set("strip", true)));
      },
      EncodingFailure);
}

EncodedDocument EncodeDocument(const photo::Image& image, ImageFormat format, int32_t dpi, std::optional<int32_t> minKb,
                               std::optional<int32_t> maxKb, const photo::Mask& opacity) {
  CheckOpacity(image, opacity, format);
  const SizeLimits limits = LimitsOf(minKb, maxKb);
  return UseLibrary(
      [&] { return FitDocument(Encoder(image, opacity, dpi), format, dpi, limits, !opacity.values.empty()); },
      EncodingFailure);
}

std::vector<uint8_t> EncodePrint(const photo::Image& image, PrintFormat format, int32_t dpi) {
  if (format == PrintFormat::kTiff) return UseLibrary([&] { return Encoder(image, {}, dpi).Tiff(); }, EncodingFailure);
  const ImageFormat other = format == PrintFormat::kJpeg ? ImageFormat::kJpeg : ImageFormat::kPng;
  return EncodeDocument(image, other, dpi, std::nullopt, std::nullopt).bytes;
}

}  // namespace qx::codec
