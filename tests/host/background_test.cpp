// Backgrounds, the person's own colours, and masks from files.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "host/background.h"
#include "host/foreground.h"
#include "host/mask_file.h"
#include "test_files.h"

namespace qx::host {
namespace {

TEST(Background, IsReadOrRefused) {
  EXPECT_TRUE(ParseBackground("keep").IsKeep());
  const Background white = ParseBackground("white"), blue = ParseBackground("#438EdB"),
                   gradient = ParseBackground("gradient:#000000-#ff8000");
  auto isColour = [](const Colour& colour, int red, int green, int blueSample) {
    return colour.red == red && colour.green == green && colour.blue == blueSample;
  };
  EXPECT_FALSE(white.IsKeep());
  EXPECT_TRUE(isColour(white.top, 255, 255, 255) && isColour(white.bottom, 255, 255, 255));
  EXPECT_TRUE(isColour(blue.top, 0x43, 0x8e, 0xdb) && isColour(blue.bottom, 0x43, 0x8e, 0xdb));
  EXPECT_TRUE(isColour(gradient.top, 0, 0, 0) && isColour(gradient.bottom, 255, 128, 0));
  for (const char* text : {"", "White", "blue", "#12345", "#1234567", "#12345g", "438edb", "# 12345",
                           "gradient:", "gradient:#000000", "gradient:#000000-", "gradient:#000000-white",
                           "gradient:#000000#111111", "gradient:#000000-#111111-#222222", "\x1b[2J"}) {
    const std::string failure = FailureOf([&] { ParseBackground(text); });
    EXPECT_TRUE(Contains(failure, "is no background")) << failure;
    EXPECT_FALSE(Contains(failure, "\x1b")) << failure;
  }
}

TEST(Background, CompositesByHand) {
  // One column: a gradient 0, 50, 100 behind 200 with the mask 255, 0, 51 (a fifth).
  const Image person{1, 3, std::vector<uint8_t>(9, 200)};
  const Mask mask{255, 0, 51};
  const Background gradient = ParseBackground("gradient:#000000-#646464");
  EXPECT_EQ((std::vector<uint8_t>{200, 200, 200, 50, 50, 50, 120, 120, 120}), Composite(person, mask, gradient).bgr);
  EXPECT_EQ(person.bgr, Composite(person, mask, ParseBackground("keep")).bgr);
  // (200 * 128 + 255 * 127) / 255 = 227.39; of one row the gradient shows the top.
  const Image pixel{1, 1, {200, 0, 255}};
  EXPECT_EQ((std::vector<uint8_t>{227, 127, 255}), Composite(pixel, {128}, ParseBackground("white")).bgr);
  EXPECT_EQ((std::vector<uint8_t>{0, 0, 0}), Composite(pixel, {0}, gradient).bgr);
  EXPECT_THROW(Composite(pixel, {1, 2}, gradient), Failure);
}

TEST(Foreground, LosesTheOldBackground) {
  // A round person of one colour with a soft outline before a wall of two colours; once small, once above the size of
  // the working copy.
  const double person[3] = {40, 70, 110};
  for (const int side : {120, 1500}) {
    Image photograph{side, side, {}};
    Mask mask;
    for (int y = 0; y < side; ++y) {
      for (int x = 0; x < side; ++x) {
        const double wall[3] = {x < side / 2 ? 30.0 : 240.0, 220, 30};
        const double distance = std::hypot(x - side / 2.0, y - side / 2.0) / side;
        mask.push_back(static_cast<uint8_t>(std::lround(255 * std::clamp((0.36 - distance) / 0.06, 0.0, 1.0))));
        for (int c = 0; c < 3; ++c) {
          const double alpha = mask.back() / 255.0;
          photograph.bgr.push_back(static_cast<uint8_t>(std::lround(alpha * person[c] + (1 - alpha) * wall[c])));
        }
      }
    }
    const Image result = EstimateForeground(photograph, mask);
    int worst = 0;
    for (size_t i = 0; i < result.bgr.size(); ++i) {
      if (mask[i / 3] == 0 || mask[i / 3] == 255) {
        ASSERT_EQ(photograph.bgr[i], result.bgr[i]);
      } else if (std::abs(static_cast<int>(i / 3) % side - side / 2) >
                 side / 12) {  // the walls run into each other there
        worst = std::max(worst, std::abs(result.bgr[i] - static_cast<int>(person[i % 3])) * mask[i / 3] / 255);
      }
    }
    EXPECT_GE(8, worst) << side;  // of 255, as seen in a composite; up to 46 before
  }
}

TEST(MaskFile, IsGreyOrTransparencyOfTheRightSize) {
  const TestFolder folder;
  vips::VImage grey = vips::VImage::black(8, 6).linear(1, 200).cast(VIPS_FORMAT_UCHAR);
  grey = grey.insert(vips::VImage::black(2, 6), 0, 0);
  grey.write_to_file((folder / "grey.png").c_str());
  Mask expected(48, 200);
  for (size_t i = 0; i < expected.size(); ++i) expected[i] = i % 8 < 2 ? 0 : 200;
  EXPECT_EQ(expected, ReadMask(folder / "grey.png", 8, 6));

  // A cut-out: what it shows does not matter, its opacity does; also with 16 bits.
  const vips::VImage picture = ToVips(GradientImage(8, 6));
  picture.bandjoin(grey).write_to_file((folder / "cut.png").c_str());
  EXPECT_EQ(expected, ReadMask(folder / "cut.png", 8, 6));
  picture.bandjoin(grey)
      .linear(257, 0)
      .cast(VIPS_FORMAT_USHORT)
      .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_RGB16))
      .write_to_file((folder / "cut16.png").c_str());
  EXPECT_EQ(expected, ReadMask(folder / "cut16.png", 8, 6));
  // Opacity that says nothing leaves the grey value.
  vips::VImage::bandjoin({grey, grey, grey, vips::VImage::black(8, 6).linear(1, 255).cast(VIPS_FORMAT_UCHAR)})
      .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB))
      .write_to_file((folder / "opaque.png").c_str());
  EXPECT_EQ(expected, ReadMask(folder / "opaque.png", 8, 6));

  vips::VImage::black(8, 6).write_to_file((folder / "black.png").c_str());
  WriteBytes(folder / "text.png", "no picture");
  auto failure = [&](const char* name, int width, int height) {
    return FailureOf([&] { ReadMask(folder / name, width, height); });
  };
  EXPECT_EQ("the mask is 8 x 6 pixels, the upright photograph 6 x 8 pixels; both must be of one size",
            failure("grey.png", 6, 8));
  EXPECT_TRUE(Contains(failure("black.png", 8, 6), "black throughout"));
  EXPECT_TRUE(Contains(failure("text.png", 8, 6), "known format"));
}

}  // namespace
}  // namespace qx::host
