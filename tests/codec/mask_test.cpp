// Masks that were made elsewhere.
#include "codec/codec.h"

#include <gtest/gtest.h>

#include "support/test_files.h"

namespace qx::codec {
namespace {

using namespace qx::test;
using namespace qx::photo;

TEST(MaskFile, IsGreyOrTransparencyOfTheRightSize) {
  const TestFolder folder;
  vips::VImage grey = vips::VImage::black(8, 6).linear(1, 200).cast(VIPS_FORMAT_UCHAR);
  grey = grey.insert(vips::VImage::black(2, 6), 0, 0);
  grey.write_to_file((folder / "grey.png").c_str());
  Mask expected(8, 6, 200);
  for (size_t i = 0; i < expected.values.size(); ++i) expected.values[i] = i % 8 < 2 ? 0 : 200;
  EXPECT_EQ(expected.values, ReadMask(folder / "grey.png", 8, 6).values);

  // A cut-out: what it shows does not matter, its opacity does; also with 16 bits.
  const vips::VImage picture = ToVips(GradientImage(8, 6));
  picture.bandjoin(grey).write_to_file((folder / "cut.png").c_str());
  EXPECT_EQ(expected.values, ReadMask(folder / "cut.png", 8, 6).values);
  picture.bandjoin(grey)
      .linear(257, 0)
      .cast(VIPS_FORMAT_USHORT)
      .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_RGB16))
      .write_to_file((folder / "cut16.png").c_str());
  EXPECT_EQ(expected.values, ReadMask(folder / "cut16.png", 8, 6).values);
  // Opacity that says nothing leaves the grey value.
  vips::VImage::bandjoin({grey, grey, grey, vips::VImage::black(8, 6).linear(1, 255).cast(VIPS_FORMAT_UCHAR)})
      .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB))
      .write_to_file((folder / "opaque.png").c_str());
  EXPECT_EQ(expected.values, ReadMask(folder / "opaque.png", 8, 6).values);

  vips::VImage::black(8, 6).write_to_file((folder / "black.png").c_str());
  WriteBytes(folder / "text.png", "no picture");
  auto failure = [&](const char* name, int width, int height) {
    return FailureOf([&] { ReadMask(folder / name, width, height); });
  };
  EXPECT_EQ("the mask is 8 x 6 pixels, the upright photograph 6 x 8 pixels; both must be of one size",
            failure("grey.png", 6, 8));
  EXPECT_TRUE(Contains(failure("black.png", 8, 6), "black throughout"));
  EXPECT_TRUE(Contains(failure("text.png", 8, 6), "known format"));
  // The limit holds for a mask too.
  EXPECT_EQ(expected.values, ReadMask(folder / "grey.png", 8, 6, {48}).values);
  EXPECT_TRUE(Contains(FailureOf([&] { ReadMask(folder / "grey.png", 8, 6, {47}); }), "above the limit"));
}

TEST(MaskFile, IsWrittenAsItIsRead) {
  const Image image = GradientImage(8, 6);
  Mask mask(8, 6);
  for (size_t i = 0; i < mask.values.size(); ++i) mask.values[i] = static_cast<uint8_t>(5 * i);
  const auto bytesOf = [](const std::vector<uint8_t>& file) { return Bytes(file.begin(), file.end()); };
  const std::vector<uint8_t> grey = EncodeMask(mask);
  EXPECT_EQ(mask.values, ReadMask(bytesOf(grey), 8, 6).values);
  const vips::VImage one = vips::VImage::new_from_buffer(grey.data(), grey.size(), "");
  EXPECT_EQ(1, one.bands());
  EXPECT_EQ(VIPS_FORMAT_UCHAR, one.format());

  // With a picture: the colours stay as they are even where the opacity is 0.
  const std::vector<uint8_t> cutOut = EncodeImage(image, ImageFormat::kPng, mask);
  EXPECT_EQ(mask.values, ReadMask(bytesOf(cutOut), 8, 6).values);
  const vips::VImage four = vips::VImage::new_from_buffer(cutOut.data(), cutOut.size(), "");
  ASSERT_EQ(4, four.bands());
  EXPECT_EQ(VIPS_INTERPRETATION_sRGB, four.interpretation());
  EXPECT_EQ(0, (four.extract_band(0, vips::VImage::option()->set("n", 3)) - ToVips(image)).abs().max());
  const EncodedDocument document = EncodeDocument(image, ImageFormat::kPng, 600, {}, {}, mask);
  EXPECT_EQ(mask.values, ReadMask(bytesOf(document.bytes), 8, 6).values);
  EXPECT_NEAR(600, FileSource(bytesOf(document.bytes)).Resolution()->x, 0.02);

  EXPECT_TRUE(Contains(FailureOf([&] { EncodeImage(image, ImageFormat::kJpeg, mask); }), "write a .png file"));
  EXPECT_TRUE(Contains(FailureOf([&] { EncodeImage(image, ImageFormat::kPng, Mask(6, 8, 1)); }), "opacity"));
}

}  // namespace
}  // namespace qx::codec
