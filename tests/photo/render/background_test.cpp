// Backgrounds.
#include <gtest/gtest.h>

#include <array>

#include "photo/render/background.h"
#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;

TEST(Background, IsReadOrRefused) {
  EXPECT_TRUE(ParseBackground("keep").IsKeep());
  const Background white = ParseBackground("white"), blue = ParseBackground("#438EdB"),
                   gradient = ParseBackground("gradient:#000000-#ff8000");
  auto isColour = [](const Colour& colour, int red, int green, int blueSample) {
    return colour.red == red && colour.green == green && colour.blue == blueSample;
  };
  EXPECT_FALSE(white.IsKeep());
  EXPECT_TRUE(ParseBackground("transparent").IsTransparent() && !white.IsTransparent());
  EXPECT_TRUE(isColour(white.top, 255, 255, 255) && isColour(white.bottom, 255, 255, 255));
  EXPECT_TRUE(isColour(blue.top, 0x43, 0x8e, 0xdb) && isColour(blue.bottom, 0x43, 0x8e, 0xdb));
  EXPECT_TRUE(isColour(gradient.top, 0, 0, 0) && isColour(gradient.bottom, 255, 128, 0));
  for (const char* text : {"#FFAa00", "ORANGE", "#ffa500", "DarkSlateGrey", "gradient:Orange-#fA0", "RebeccaPurple"}) {
    EXPECT_FALSE(ParseBackground(text).IsKeep()) << text;
  }
  const Background named = ParseBackground("gradient:CornflowerBlue-#Fa0");
  EXPECT_TRUE(isColour(named.top, 0x64, 0x95, 0xed) && isColour(named.bottom, 0xff, 0xaa, 0x00));
  EXPECT_TRUE(isColour(ParseBackground("green").top, 0, 128, 0));  // not the green of X11
  for (const char* text : {"",
                           "Keep",
                           "blu",
                           "bluee",
                           "a",
                           "zzz",
                           "blue ",
                           "#12345",
                           "#1234567",
                           "#12345g",
                           "438edb",
                           "# 12345",
                           "gradient:",
                           "gradient:#000000",
                           "gradient:#000000-",
                           "gradient:#000000-whit",
                           "gradient:transparent-white",
                           "#12",
                           "radial:#000000",
                           "#1234",
                           "gradient:#000000#111111",
                           "gradient:#000000-#111111-#222222",
                           "\x1b[2J"}) {
    const std::string failure = FailureOf([&] { ParseBackground(text); });
    EXPECT_TRUE(Contains(failure, "is no background")) << failure;
    EXPECT_FALSE(Contains(failure, "\x1b")) << failure;
  }
}

TEST(Background, CompositesByHand) {
  // One column: a gradient 0, 50, 100 behind 200 with the mask 255, 0, 51 (a fifth).
  const Image person{1, 3, Bytes(9, 200)};
  const Mask mask(1, 3, Bytes{255, 0, 51});
  const Background gradient = ParseBackground("gradient:#000000-#646464");
  EXPECT_EQ((Bytes{200, 200, 200, 50, 50, 50, 120, 120, 120}), Composite(person, mask, gradient).bgr);
  EXPECT_EQ(person.bgr, Composite(person, mask, ParseBackground("keep")).bgr);
  // (200 * 128 + 255 * 127) / 255 = 227.39; of one row the gradient shows the top.
  const Image pixel{1, 1, {200, 0, 255}};
  EXPECT_EQ((Bytes{227, 127, 255}), Composite(pixel, Mask(1, 1, Bytes{128}), ParseBackground("white")).bgr);
  EXPECT_EQ((Bytes{0, 0, 0}), Composite(pixel, Mask(1, 1, Bytes{0}), gradient).bgr);
  // Of 3 x 4 pixels the corners are 5 half pixels from the middle: middles of pixels have 1 (beside it), sqrt(5), 3 and
  // sqrt(13) of them.
  const Image radial = Composite(Image(3, 4, Bytes(36, 9)), Mask(3, 4, 0), ParseBackground("radial:#646464-#c80000"));
  const auto red = [&radial](int32_t x, int32_t y) { return int{radial.At(x, y)[2]}; };
  EXPECT_EQ((std::array{172, 160, 172, 145, 120, 145}),
            (std::array{red(0, 0), red(1, 0), red(2, 0), red(0, 1), red(1, 1), red(2, 2)}));
  EXPECT_EQ(80, radial.At(1, 2)[0]);
  EXPECT_THROW(Composite(pixel, Mask(2, 1, Bytes{1, 2}), gradient), Failure);
}

}  // namespace
}  // namespace qx::photo
