// Finished documents as files: what they carry, and limits of their size.
#include "codec/codec.h"

#include <gtest/gtest.h>

#include <random>

#include "photo/document/presets.h"
#include "support/test_files.h"

namespace qx::codec {
namespace {

using namespace qx::test;
using namespace qx::photo;

using namespace qx::test;
using namespace qx::photo;
using vips::VImage;

Image NoiseImage(int width, int height) {
  Image image{width, height, {}};
  std::mt19937 random(7);
  for (int i = 0; i < width * height * 3; ++i) image.bgr.push_back(static_cast<uint8_t>(random() >> 24));
  return image;
}

VImage Decoded(const EncodedDocument& document, const char* suffix) {
  return VImage::new_from_buffer(document.bytes.data(), document.bytes.size(), suffix);
}

TEST(DocumentFile, CarriesResolutionAndNothingElse) {
  const Image image = GradientImage(120, 90);
  for (const int dpi : {300, 350, 600}) {
    for (const ImageFormat format : {ImageFormat::kJpeg, ImageFormat::kPng}) {
      const EncodedDocument file = EncodeDocument(image, format, dpi, std::nullopt, std::nullopt);
      const VImage decoded = Decoded(file, "");
      EXPECT_EQ(120, decoded.width());
      EXPECT_NEAR(dpi, decoded.xres() * 25.4, 0.02);
      EXPECT_NEAR(dpi, decoded.yres() * 25.4, 0.02);
      EXPECT_EQ(0u, decoded.get_typeof(VIPS_META_EXIF_NAME));
      EXPECT_EQ("", file.Remark());
    }
  }
  const EncodedDocument jpeg = EncodeDocument(image, ImageFormat::kJpeg, 300, std::nullopt, std::nullopt);
  const std::vector<uint8_t> header(jpeg.bytes.begin() + 6, jpeg.bytes.begin() + 18);
  EXPECT_EQ((std::vector<uint8_t>{'J', 'F', 'I', 'F', 0, 1, 1, 1, 300 >> 8, 300 & 255, 300 >> 8, 300 & 255}), header);
  EXPECT_EQ(kUsualQuality, jpeg.quality);
}

TEST(DocumentFile, MeetsLimitsOfSize) {
  const Image noise = NoiseImage(200, 200), smooth = GradientImage(200, 200);
  auto encode = [](const Image& image, std::optional<int32_t> min, std::optional<int32_t> max) {
    return EncodeDocument(image, ImageFormat::kJpeg, 300, min, max);
  };
  // The ceiling is met with the highest quality that meets it.
  const EncodedDocument limited = encode(noise, std::nullopt, 40);
  EXPECT_GE(40'000u, limited.bytes.size());
  EXPECT_LT(36'000u, limited.bytes.size());
  EXPECT_TRUE(limited.limited && limited.quality < kUsualQuality && limited.quality >= kLowestQuality);
  EXPECT_EQ(limited.bytes, encode(noise, std::nullopt, 40).bytes);
  EXPECT_TRUE(Contains(FailureOf([&] { encode(noise, std::nullopt, 5); }), "cannot be made as small as 5.0 kB"));

  // A floor by quality where that suffices, else by blanks; several segments of them when there are many.
  EXPECT_GT(encode(noise, 85, std::nullopt).quality, kUsualQuality);
  for (const int32_t floor : {30, 64, 65, 200}) {
    const EncodedDocument padded = encode(smooth, floor, std::nullopt);
    EXPECT_EQ(static_cast<size_t>(floor) * kFloorKilobyte, padded.bytes.size());
    EXPECT_TRUE(Contains(padded.Remark(), "blanks"));
    const VImage decoded = Decoded(padded, "[fail-on=warning]");
    EXPECT_NEAR(300, decoded.xres() * 25.4, 0.02);
    EXPECT_LT(10, decoded.avg());
  }
  const EncodedDocument both = encode(noise, 20, 30);
  EXPECT_TRUE(both.bytes.size() >= 20 * 1024 && both.bytes.size() <= 30'000);
  EXPECT_TRUE(Contains(FailureOf([&] { encode(noise, 40, 40); }), "turn them round"));  // 40,960 is above 40,000
  EXPECT_TRUE(Contains(FailureOf([&] { EncodeDocument(noise, ImageFormat::kPng, 300, std::nullopt, 50); }),
                       "write a .jpg file"));
}

}  // namespace
}  // namespace qx::codec
