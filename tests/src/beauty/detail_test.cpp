// The detail stage: guided filter, boost and blend.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "beauty/detail/boost_detail.h"
#include "beauty/detail/enhance_region.h"
#include "reference/plain_beauty.h"
#include "src/scripted_engine.h"

namespace qx::test {
namespace {

TEST(Detail, FlatPatchesStayWithinOneLevel) {
  for (const int value : {0, 1, 77, 200, 255}) {
    const std::vector<uint8_t> patch(20 * 30 * 3, static_cast<uint8_t>(value));
    std::vector<uint8_t> boosted(patch.size());
    ASSERT_EQ(BoostDetail({patch.data(), 20, 30, 3}, boosted.data()), Status::kOk);
    for (const uint8_t b : boosted) ASSERT_NEAR(b, value, 1);
  }
}

TEST(Detail, TheBoostFollowsItsFormula) {
  for (const auto& [width, height] :
       {std::pair(1, 1), std::pair(5, 40), std::pair(17, 17), std::pair(40, 9), std::pair(18, 10), std::pair(71, 50)}) {
    const Photo photo(width, height);
    std::vector<uint8_t> boosted(photo.pixels.size()), plain(photo.pixels.size());
    ASSERT_EQ(BoostDetail(photo.View(), boosted.data()), Status::kOk);
    PlainBoost(photo.pixels.data(), width, height, plain.data());
    EXPECT_EQ(boosted, plain) << width << "x" << height;
  }
}

std::vector<uint8_t> Enhance(const Photo& photo, const std::vector<Point>& region, double factor,
                             Status expected = Status::kOk) {
  std::vector<uint8_t> reference = photo.pixels, out(photo.pixels.size());
  EXPECT_EQ(EnhanceRegion(reference.data(), photo.View(), region.data(), factor, out.data()), expected);
  return out;
}

TEST(Detail, OnlyTheFeatheredEllipseChanges) {
  const Photo photo(200, 160);
  // L = 60 and S = 24: half the square is trunc(sqrt(4176) / 2 + 0.5) = 32, so columns 68 to 132, rows 48 to 112.
  const std::vector<Point> eye = {{70, 80}, {130, 80}, {100, 68}, {100, 92}};
  const std::vector<uint8_t> out = Enhance(photo, eye, 0.7);
  std::vector<uint8_t> boosted(85 * 85 * 3), patch;
  for (int y = 38; y < 122; ++y) {
    for (int x = 58; x < 142; ++x) patch.insert(patch.end(), photo.At(x, y), photo.At(x, y) + 3);
  }
  boosted.resize(patch.size());
  ASSERT_EQ(BoostDetail({patch.data(), 84, 84, 3}, boosted.data()), Status::kOk);
  const auto inside = [](int x, int y) {
    const double along = x - 100, across = y - 80;
    return x >= 68 && x <= 132 && y >= 48 && y <= 112 &&
           along * along / (31.0 * 31) + across * across / (13.0 * 13) <= 1;
  };
  for (int y = 0; y < 160; ++y) {
    for (int x = 0; x < 200; ++x) {
      int marked = 0;
      for (int v = y - 10; v <= y + 10; ++v) {
        for (int u = x - 10; u <= x + 10; ++u) marked += inside(u, v) ? 255 : 0;
      }
      const bool inBox = x >= 58 && x < 142 && y >= 38 && y < 122;
      const double alpha = inBox ? static_cast<double>(marked) / (441 * 255) * 0.7 : 0;
      for (int c = 0; c < 3; ++c) {
        const int in = photo.At(x, y)[c];
        const int sharp = inBox ? boosted[static_cast<size_t>(((y - 38) * 84 + x - 58) * 3 + c)] : 0;
        ASSERT_EQ(out[static_cast<size_t>((y * 200 + x) * 3 + c)], static_cast<int>(in * (1 - alpha) + sharp * alpha))
            << x << "," << y;
      }
    }
  }
}

TEST(Detail, OddRegionsKeepTheImage) {
  const Photo photo(50, 40);
  EXPECT_EQ(Enhance(photo, {{10, 20}, {30, 20}, {20, 15}, {20, 25}}, 0), photo.pixels);
  EXPECT_EQ(Enhance(photo, {{20, 20}, {20, 20}, {10, 10}, {30, 30}}, 0.7), photo.pixels) << "no long axis";
  EXPECT_EQ(Enhance(photo, {{500, 500}, {520, 500}, {510, 495}, {510, 505}}, 0.7), photo.pixels) << "outside";
  const int32_t far = 1000000000;
  EXPECT_EQ(Enhance(photo, {{-far, far}, {-far, far + 9}, {-far, far}, {-far, far}}, 0.7), photo.pixels);
  Enhance(photo, {{-far, 0}, {far, 0}, {0, -far}, {0, far}}, 0.7);
  Enhance(Photo(1, 1), {{0, 0}, {1, 0}, {0, 0}, {0, 1}}, 0.7);
  Enhance(Photo(12, 3), {{2, 1}, {9, 1}, {5, 0}, {5, 2}}, 0.7);
  Enhance(photo, {{10, 20}, {30, 20}, {20, 15}, {20, 25}}, std::nan(""), Status::kBadArgument);
  Enhance(photo, {{10, 20}, {30, 20}, {20, 15}, {20, 25}}, 1.01, Status::kBadArgument);
}

}  // namespace
}  // namespace qx::test
