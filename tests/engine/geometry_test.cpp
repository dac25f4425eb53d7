#include "engine/geometry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace qx::face {
namespace {

constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kMin = std::numeric_limits<int32_t>::min();

TEST(Geometry, OverlapOfBoxes) {
  const Box a{0, 0, 10, 10}, b{5, 0, 15, 10}, inside{2, 2, 4, 4}, away{20, 0, 30, 10}, inverted{10, 10, 0, 0};
  EXPECT_DOUBLE_EQ(IntersectionOverUnion(a, b), 50.0 / 150);
  EXPECT_DOUBLE_EQ(IntersectionOverSmaller(a, b), 0.5);
  EXPECT_DOUBLE_EQ(IntersectionOverUnion(a, inside), 0.04);
  EXPECT_DOUBLE_EQ(IntersectionOverSmaller(a, inside), 1);
  EXPECT_EQ(IntersectionOverUnion(a, away), 0);
  EXPECT_EQ(IntersectionOverUnion(inverted, inverted), 0);
  EXPECT_EQ(IntersectionOverSmaller(a, inverted), 0);
}

TEST(Geometry, AnglesSplitIntoQuarterTurnAndRoll) {
  const struct {
    double degrees;
    int turn;
    double roll;
  } cases[] = {{0, 0, 0}, {44, 0, 44}, {46, 1, -44}, {90, 1, 0}, {-90, 3, 0}, {-10, 0, -10}, {190, 2, 10}, {725, 0, 5}};
  for (const auto& c : cases) {
    EXPECT_EQ(NearestTurn(Radians(c.degrees)), c.turn) << c.degrees;
    EXPECT_NEAR(Degrees(FineRoll(Radians(c.degrees), c.turn)), c.roll, 1e-9) << c.degrees;
  }
}

TEST(Geometry, RegionIsTurnedClockwise) {
  const Region region{{100, 50}, 20, Radians(90)};
  const Point topLeft = FromRegion(region, 0, 0), topRight = FromRegion(region, 1, 0);
  EXPECT_NEAR(topLeft.x, 110, 1e-9);
  EXPECT_NEAR(topLeft.y, 40, 1e-9);
  EXPECT_NEAR(topRight.x, 110, 1e-9);
  EXPECT_NEAR(topRight.y, 60, 1e-9);
}

TEST(Geometry, CornersStartAtTheFacesOwnTopLeft) {
  const std::array<int32_t, 8> expected[4] = {{90, 40, 110, 40, 90, 60, 110, 60},
                                              {110, 40, 110, 60, 90, 40, 90, 60},
                                              {110, 60, 90, 60, 110, 40, 90, 40},
                                              {90, 60, 90, 40, 110, 60, 110, 40}};
  for (int turn = 0; turn < 4; ++turn) {
    const auto corners = CornersOf({100, 50}, 20, turn, 200, 100);
    EXPECT_EQ(corners, expected[turn]) << turn;
    const CornerFrame frame = FrameOfCorners(corners.data(), 200, 100);
    EXPECT_EQ(frame.turn, turn);
    EXPECT_EQ(frame.side, 20);
    EXPECT_EQ(frame.centre.x, 100);
    EXPECT_EQ(frame.centre.y, 50);
  }
}

// A square that reaches over one border, or over two borders equally far, is the same after clamping.
TEST(Geometry, SquareCutByTheBorderIsContinued) {
  constexpr int kWidth = 200, kHeight = 100;
  const Point centres[] = {{10, 50}, {195, 50}, {100, 4}, {100, 95}, {5, 5}};
  for (const Point& centre : centres) {
    for (int turn = 0; turn < 4; ++turn) {
      auto corners = CornersOf(centre, 40, turn, kWidth, kHeight);
      for (size_t i = 0; i < corners.size(); ++i) {
        corners[i] = std::clamp(corners[i], 0, (i % 2 == 0 ? kWidth : kHeight) - 1);
      }
      const bool cornerCut = centre.x == 5;
      const CornerFrame frame = FrameOfCorners(corners.data(), kWidth, kHeight);
      EXPECT_EQ(frame.turn, turn);
      EXPECT_NEAR(frame.side, cornerCut ? 25 : 40, 1);
      EXPECT_NEAR(frame.centre.x, cornerCut ? 12.5 : centre.x, 1);
      EXPECT_NEAR(frame.centre.y, cornerCut ? 12.5 : centre.y, 1);
    }
  }
}

TEST(Geometry, HostileCornersGiveFiniteFrames) {
  const int32_t cases[][8] = {{0, 0, 0, 0, 0, 0, 0, 0},
                              {kMin, kMin, kMax, kMin, kMin, kMax, kMax, kMax},
                              {kMax, kMax, kMax, kMax, kMax, kMax, kMax, kMax},
                              {0, 0, 99, 0, 0, 0, 99, 0},
                              {kMax, kMin, kMin, kMax, 0, kMin, 1, kMax}};
  for (const auto& corners : cases) {
    const CornerFrame frame = FrameOfCorners(corners, 100, 1);
    EXPECT_GE(frame.side, 1);
    EXPECT_LE(frame.side, 4294967295.0);
    EXPECT_TRUE(std::isfinite(frame.centre.x) && std::isfinite(frame.centre.y));
    EXPECT_TRUE(frame.turn >= 0 && frame.turn < 4);
  }
}

TEST(Geometry, PixelsStayWithinOneImageSize) {
  EXPECT_EQ(PixelOf(3.99, 10), 3);
  EXPECT_EQ(PixelOf(-0.01, 10), -1);
  EXPECT_EQ(PixelOf(1e300, 10), 20);
  EXPECT_EQ(PixelOf(-1e300, 10), -10);
  EXPECT_EQ(PixelOf(1e300, kMax), kMax);
  EXPECT_EQ(PixelOf(std::numeric_limits<double>::quiet_NaN(), 10), -10);
}

}  // namespace
}  // namespace qx::face
