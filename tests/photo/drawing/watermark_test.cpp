#include "photo/drawing/watermark.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "photo/base/failure.h"
#include "photo/drawing/label_font.h"

namespace qx::photo {
namespace {

constexpr int kEm = 40;  // at which letters are drawn as they are stored

Image Plain(int32_t width, int32_t height, uint8_t level) {
  return {width, height, Bytes(static_cast<size_t>(width) * static_cast<size_t>(height) * 3, level)};
}

Image Drawn(const Watermark& watermark, int32_t width, int32_t height, uint8_t level = 255) {
  Image picture = Plain(width, height, level);
  DrawWatermark(watermark, &picture);
  return picture;
}

Watermark Black(double angle, int32_t size = kEm) {
  Watermark watermark{"Proof", size, 1, angle, {0, 0, 0}, 0};
  // With a whole and even period along the lines.
  watermark.space = 20 + TextWidth(watermark.text, kEm) % 2;
  return watermark;
}

double MeanOf(const Image& picture) {
  return std::accumulate(picture.bgr.begin(), picture.bgr.end(), 0.0) / static_cast<double>(picture.bgr.size());
}

TEST(Watermark, RepeatsWithEveryOtherLineMovedByHalfAPeriod) {
  const Watermark watermark = Black(0);
  const int32_t across = TextWidth(watermark.text, kEm) + watermark.space, down = LineHeight(kEm) + watermark.space;
  const Image drawn = Drawn(watermark, 3 * across, 3 * down);
  int inked = 0, differing = 0;
  for (int32_t y = 0; y < 2 * down; ++y) {
    for (int32_t x = 0; x < 2 * across; ++x) {
      const uint8_t level = *drawn.At(x, y);
      inked += level < 128 ? 1 : 0;
      differing += level != *drawn.At(x + across, y) ? 1 : 0;
      differing += level != *drawn.At((x + across / 2) % (2 * across), y + down) ? 1 : 0;
    }
  }
  EXPECT_EQ(0, differing);
  EXPECT_LT(500, inked);
  // A text stands in the middle: nothing around it for half the space.
  const int32_t left = (3 * across - TextWidth(watermark.text, kEm)) / 2 - 5;
  for (int32_t y = down + down / 4; y < 2 * down - down / 4; ++y) EXPECT_EQ(255, *drawn.At(left, y)) << y;
}

TEST(Watermark, RisesToTheRightByTheAngle) {
  const Image level = Drawn(Black(0), 300, 200), rising = Drawn(Black(90), 200, 300),
              down = Drawn(Black(-90), 200, 300);
  for (int32_t y = 0; y < 200; ++y) {
    for (int32_t x = 0; x < 300; ++x) {
      ASSERT_EQ(*level.At(x, y), *rising.At(y, 299 - x)) << x << " " << y;
      ASSERT_EQ(*level.At(x, y), *down.At(199 - y, x)) << x << " " << y;
    }
  }
  EXPECT_EQ(Drawn(Black(180), 301, 201).bgr, Drawn(Black(-180), 301, 201).bgr);
  // Turned and scaled letters cover as much of the picture, and their edges have all levels.
  for (const int32_t size : {10, 20, 40, 90}) {
    Watermark turned = Black(30, size);
    turned.space = size / 2;
    Watermark straight = turned;
    straight.angle = 0;
    const Image picture = Drawn(turned, 900, 900);
    EXPECT_NEAR(255 - MeanOf(Drawn(straight, 900, 900)), 255 - MeanOf(picture), 3) << size;
    std::array<bool, 256> seen{};
    for (const uint8_t value : picture.bgr) seen[value] = true;
    EXPECT_LT(150, std::count(seen.begin(), seen.end(), true)) << size;
  }
}

TEST(Watermark, OpacityIsTheShareOfTheInk) {
  Watermark watermark = Black(30);
  watermark.ink = {10, 100, 250};
  const Image full = Drawn(watermark, 200, 150, 200);
  watermark.opacity = 0.25;
  const Image quarter = Drawn(watermark, 200, 150, 200);
  for (size_t i = 0; i < full.bgr.size(); ++i) ASSERT_NEAR(200 + (full.bgr[i] - 200) / 4.0, quarter.bgr[i], 1) << i;
  watermark.opacity = 0;
  EXPECT_EQ(Plain(200, 150, 200).bgr, Drawn(watermark, 200, 150, 200).bgr);
}

TEST(Watermark, RefusesWhatCannotBeDrawnAndDrawsAllElse) {
  const auto refused = [](auto change) {
    Watermark watermark = Black(30);
    change(watermark);
    Image picture = Plain(8, 8, 7);
    try {
      DrawWatermark(watermark, &picture);
    } catch (const Failure& failure) {
      EXPECT_EQ(FailureCode::kBadOption, failure.Code());
      EXPECT_EQ(Plain(8, 8, 7).bgr, picture.bgr);
      return failure.Word("option") + ": " + failure.what();
    }
    return std::string();
  };
  EXPECT_NE(std::string::npos, refused([](Watermark& w) { w.text = "a\u6c34"; })
                                   .find("text: the watermark's text has a "
                                         "character that cannot be drawn: "
                                         "\u6c34"));
  for (const char* text : {"", "  ", "a\xff", "tab\there"}) {
    EXPECT_EQ("text", refused([text](Watermark& w) { w.text = text; }).substr(0, 4)) << text;
  }
  EXPECT_EQ("text", refused([](Watermark& w) { w.text.assign(kMostWatermarkBytes + 1, 'x'); }).substr(0, 4));
  EXPECT_EQ("size", refused([](Watermark& w) { w.size = 3; }).substr(0, 4));
  EXPECT_EQ("opacity", refused([](Watermark& w) { w.opacity = std::nan(""); }).substr(0, 7));
  EXPECT_EQ("angle", refused([](Watermark& w) { w.angle = 181; }).substr(0, 5));
  EXPECT_EQ("space", refused([](Watermark& w) { w.space = -1; }).substr(0, 5));
  for (const int32_t size : {kLeastWatermarkSize, kMostWatermarkSize}) {
    for (const int32_t space : {0, kMostWatermarkSpace}) {
      for (const double angle : {-180.0, -91.0, 0.0, 45.0, 179.5}) {
        EXPECT_EQ("", refused([&](Watermark& w) { w = {"?", size, 1, angle, {1, 2, 3}, space}; }));
      }
    }
  }
}

}  // namespace
}  // namespace qx::photo
