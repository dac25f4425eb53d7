// The quality of JPEG files, from every one that the library writes and from headers made by hand.
#include "codec/jpeg_quality.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/test_files.h"

namespace qx::codec {
namespace {

using namespace qx::test;
using photo::Bytes;
using vips::VImage;

Bytes Jpeg(const VImage& image, vips::VOption* options) {
  VipsBlob* blob = image.jpegsave_buffer(options);
  size_t size = 0;
  const auto* data = static_cast<const uint8_t*>(vips_blob_get(blob, &size));
  Bytes bytes(data, data + size);
  vips_area_unref(VIPS_AREA(blob));
  return bytes;
}

TEST(JpegQuality, IsThatWithWhichTheFileWasWritten) {
  const VImage picture = ToVips(GradientImage(48, 40));
  const VImage grey = picture.colourspace(VIPS_INTERPRETATION_B_W), ink = picture.colourspace(VIPS_INTERPRETATION_CMYK);
  for (int quality = 1; quality <= 100; ++quality) {
    for (const VImage& image : {picture, grey, ink}) {
      const auto told = QualityOf(Jpeg(image, VImage::option()->set("Q", quality)));
      ASSERT_TRUE(told) << quality;
      EXPECT_EQ(quality, told->quality);
      EXPECT_TRUE(told->isExact) << quality;
    }
  }
  const auto progressive = Jpeg(picture, VImage::option()->set("Q", 61)->set("interlace", true));
  EXPECT_EQ(61, FileSource(progressive).Quality()->quality);
}

TEST(JpegQuality, IsNearForOtherTablesAndUnknownForNoJpeg) {
  Bytes file = Jpeg(ToVips(GradientImage(48, 40)), VImage::option()->set("Q", 80));
  const Bytes marker{0xFF, 0xDB};
  const auto table = std::search(file.begin(), file.end(), marker.begin(), marker.end());
  ASSERT_LT(5, file.end() - table);
  table[5 + 7] = static_cast<uint8_t>(table[5 + 7] + 1);
  EXPECT_EQ(80, QualityOf(file)->quality);
  EXPECT_FALSE(QualityOf(file)->isExact);
  table[4] = 9;  // no such table
  EXPECT_FALSE(QualityOf(file));

  EXPECT_FALSE(QualityOf({}));
  const auto png = EncodeImage(GradientImage(30, 20), ImageFormat::kPng);
  EXPECT_FALSE(FileSource(Bytes(png.begin(), png.end())).Quality());
  // Cut anywhere before its first scan, in a buffer of just that size.
  const Bytes whole = Jpeg(ToVips(GradientImage(48, 40)), VImage::option()->set("Q", 80));
  const Bytes scan{0xFF, 0xDA};
  const auto end = std::search(whole.begin(), whole.end(), scan.begin(), scan.end()) - whole.begin();
  for (std::ptrdiff_t size = 0; size < end; ++size) EXPECT_FALSE(QualityOf(Bytes(whole.begin(), whole.begin() + size)));
}

}  // namespace
}  // namespace qx::codec
