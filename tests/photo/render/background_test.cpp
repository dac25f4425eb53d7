// Backgrounds, the person's own colours, and masks from files.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "photo/person/foreground.h"
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
  EXPECT_THROW(Composite(pixel, Mask(2, 1, Bytes{1, 2}), gradient), Failure);
}

TEST(Foreground, LosesTheOldBackground) {
  // A round person of one colour with a soft outline before a wall of two colours; once small, once above the size of
  // the working copy.
  const double person[3] = {40, 70, 110};
  for (const int side : {120, 1500}) {
    Image photograph{side, side, {}};
    Mask mask(side, side);
    uint8_t* to = mask.values.data();
    for (int y = 0; y < side; ++y) {
      for (int x = 0; x < side; ++x) {
        const double wall[3] = {x < side / 2 ? 30.0 : 240.0, 220, 30};
        const double distance = std::hypot(x - side / 2.0, y - side / 2.0) / side;
        *to = static_cast<uint8_t>(std::lround(255 * std::clamp((0.36 - distance) / 0.06, 0.0, 1.0)));
        for (int c = 0; c < 3; ++c) {
          const double alpha = *to / 255.0;
          photograph.bgr.push_back(static_cast<uint8_t>(std::lround(alpha * person[c] + (1 - alpha) * wall[c])));
        }
        ++to;
      }
    }
    const Image result = EstimateForeground(photograph, mask, side / 6.0);
    int worst = 0;
    for (size_t i = 0; i < result.bgr.size(); ++i) {
      if (mask.values[i / 3] == 0 || mask.values[i / 3] == 255) {
        ASSERT_EQ(photograph.bgr[i], result.bgr[i]);
      } else if (std::abs(static_cast<int>(i / 3) % side - side / 2) >
                 side / 12) {  // the walls run into each other there
        worst = std::max(worst, std::abs(result.bgr[i] - static_cast<int>(person[i % 3])) * mask.values[i / 3] / 255);
      }
    }
    EXPECT_GE(8, worst) << side;  // of 255, as seen in a composite; up to 46 before
  }
}

TEST(Foreground, TakesPicturesOfAnySize) {
  for (const auto& [width, height] : {std::pair{1, 1}, {1, 300}, {900, 2}, {33, 21}}) {
    for (const double faceWidth : {0.5, 20.0, 1e5}) {
      const Image picture = GradientImage(width, height);
      Mask mask(width, height);
      for (size_t i = 0; i < mask.values.size(); ++i) mask.values[i] = static_cast<uint8_t>(i * 85 % 256);
      const Image result = EstimateForeground(picture, mask, faceWidth);
      for (size_t i = 0; i < mask.values.size(); ++i) {
        if (mask.values[i] % 255 == 0) {
          EXPECT_TRUE(std::equal(&picture.bgr[3 * i], &picture.bgr[3 * i] + 3, &result.bgr[3 * i]));
        }
      }
    }
  }
  // Nothing of one of the two is to be seen: nothing to tell apart.
  const Image flat(8, 8, Bytes(192, 99));
  EXPECT_EQ(flat.bgr, EstimateForeground(flat, Mask(8, 8, uint8_t{1}), 9).bgr);
}

}  // namespace
}  // namespace qx::photo
