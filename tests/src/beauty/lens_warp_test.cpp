#include "beauty/shape/lens_warp.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "reference/plain_beauty.h"
#include "src/scripted_engine.h"

namespace qx::test {
namespace {

constexpr int32_t kOpen = 200;

std::vector<uint8_t> Warp(const Photo& photo, const std::vector<Point>& points, int direction, double strength,
                          FaceRegion region, int32_t value = kOpen) {
  std::vector<uint8_t> out(photo.pixels.size());
  EXPECT_EQ(LensWarp(photo.View(), region, points.data(), value, direction, strength, out.data()), Status::kOk);
  return out;
}

std::vector<uint8_t> Plain(const Photo& photo, const PlainLens& lens) {
  std::vector<uint8_t> out(photo.pixels.size());
  PlainLensWarp(photo.pixels.data(), photo.width, photo.height, lens, out.data());
  return out;
}

TEST(LensWarp, IsTheEvaluationAtEveryPixel) {
  const Photo photo(260, 210);
  // An eye 40 wide and 15 high: t = 40 / 15 / 3 < 1, so A = sqrt(t / ((1 - t) 2 + 1)) * strength * 0.6; R = 60.
  const std::vector<Point> eye = {{80, 100}, {120, 100}, {100, 92}, {100, 107}};
  const double t = (40.0 / 15.0) / 3.0;
  for (const double strength : {0.5, 2.0, 5.0}) {
    const auto amount = static_cast<float>(std::sqrt(t / ((1 - t) * 2 + 1)) * strength * 0.6);
    for (const int direction : {0, 1}) {
      EXPECT_EQ(Warp(photo, eye, direction, strength, FaceRegion::kLeftEye),
                Plain(photo, {100, 100, amount, 60, direction == 1}));
    }
  }
}

// Mouths at strength 10, wide enough for the height 5. In and over every corner of images of many sizes, beside them,
// larger than they are, with radii that are no whole numbers, and too large for a table.
TEST(LensWarp, IsThatWhereverTheDiscLies) {
  for (const auto& [width, height] : {std::pair(260, 210), std::pair(61, 47), std::pair(9, 3), std::pair(1, 1)}) {
    const Photo photo(width, height);
    for (const auto& [x, y] : {std::pair(10, 5), std::pair(width - 3, height - 2), std::pair(width / 2, -12),
                               std::pair(-25, height / 2), std::pair(width + 14, height + 14)}) {
      for (const auto& [dx, dy] : {std::pair(20, 0), std::pair(13, 17), std::pair(40, -31), std::pair(3001, 4)}) {
        const std::vector<Point> mouth = {{x - dx, y - dy}, {x + dx, y + dy}, {x, y}, {x, y}};
        const double half = std::sqrt(dx * dx + dy * dy);
        const auto amount = static_cast<float>(std::min(2 * half / 50 * 10, 5.0));
        for (const int direction : {0, 1}) {
          const PlainLens lens = {x, y, amount, static_cast<float>(1.5 * half), direction == 1};
          ASSERT_EQ(Warp(photo, mouth, direction, 10, FaceRegion::kMouth), Plain(photo, lens))
              << width << "x" << height << " at " << x << "," << y << " by " << dx << "," << dy;
        }
      }
    }
  }
}

TEST(LensWarp, NarrowOrShutEyesAndStrengthZeroChangeNothing) {
  const Photo photo(80, 60);
  const std::vector<Point> narrow = {{30, 30}, {45, 30}, {37, 27}, {37, 33}};
  EXPECT_EQ(Warp(photo, narrow, 1, 5, FaceRegion::kLeftEye), photo.pixels) << "width 15: the sine of 180 degrees";
  const std::vector<Point> eye = {{20, 30}, {50, 30}, {35, 25}, {35, 35}};
  EXPECT_EQ(Warp(photo, eye, 1, 5, FaceRegion::kRightEye, 99), photo.pixels);
  EXPECT_NE(Warp(photo, eye, 1, 5, FaceRegion::kRightEye, 100), photo.pixels);
  EXPECT_NE(Warp(photo, eye, 1, 5, FaceRegion::kMouth, 0), photo.pixels) << "a mouth has no gate";
  const int32_t far = 1000000000;
  const std::vector<std::vector<Point>> odd = {eye,
                                               {{30, 30}, {30, 30}, {30, 30}, {30, 30}},
                                               {{20, 30}, {50, 30}, {35, 30}, {35, 30}},
                                               {{-far, far}, {far, far}, {0, 0}, {0, far}},
                                               {{INT32_MIN, 0}, {INT32_MAX, 0}, {0, INT32_MIN}, {0, 0}}};
  for (const auto& points : odd) {
    for (const FaceRegion region : {FaceRegion::kLeftEye, FaceRegion::kMouth}) {
      EXPECT_EQ(Warp(photo, points, 1, 0, region), photo.pixels);
      for (const double strength : {3.0, 1e300, std::numeric_limits<double>::infinity(), std::nan("")}) {
        Warp(photo, points, 0, strength, region);
      }
    }
  }
}

TEST(LensWarp, MirrorsWithItsImage) {
  Photo photo(101, 80), mirrored(101, 80);
  for (int y = 0; y < 80; ++y) {
    for (int x = 0; x < 101; ++x) {
      for (int c = 0; c < 3; ++c) mirrored.pixels[static_cast<size_t>((y * 101 + x) * 3 + c)] = photo.At(100 - x, y)[c];
    }
  }
  const std::vector<uint8_t> a = Warp(photo, {{30, 40}, {70, 40}, {50, 33}, {50, 46}}, 1, 3, FaceRegion::kLeftEye);
  const std::vector<uint8_t> b = Warp(mirrored, {{70, 40}, {30, 40}, {50, 33}, {50, 46}}, 1, 3, FaceRegion::kLeftEye);
  int worst = 0;
  for (int y = 0; y < 80; ++y) {
    for (int x = 0; x < 101; ++x) {
      for (int c = 0; c < 3; ++c) {
        worst = std::max(worst, std::abs(a[static_cast<size_t>((y * 101 + x) * 3 + c)] -
                                         b[static_cast<size_t>((y * 101 + 100 - x) * 3 + c)]));
      }
    }
  }
  EXPECT_LE(worst, 1) << "but for the truncation of positions on the other side of a pixel";
}

TEST(LensWarp, RefusesBadArguments) {
  Photo photo(60, 60);
  std::vector<uint8_t> out(photo.pixels.size());
  const std::vector<Point> eye = {{10, 30}, {50, 30}, {30, 22}, {30, 37}};
  const auto warp = [&](const uint8_t* in, int32_t width, int32_t direction, double strength, uint8_t* to) {
    return LensWarp({in, width, 60, 3}, FaceRegion::kLeftEye, eye.data(), kOpen, direction, strength, to);
  };
  EXPECT_EQ(warp(nullptr, 60, 1, 1, out.data()), Status::kBadArgument);
  EXPECT_EQ(warp(photo.pixels.data(), 60, 1, 1, nullptr), Status::kBadArgument);
  EXPECT_EQ(warp(photo.pixels.data(), -1, 1, 1, out.data()), Status::kBadArgument);
  EXPECT_EQ(warp(photo.pixels.data(), 60, 2, 1, out.data()), Status::kBadDirection);
  EXPECT_EQ(warp(photo.pixels.data(), 60, 2, 0, out.data()), Status::kOk) << "no pixel would move";
}

}  // namespace
}  // namespace qx::test
