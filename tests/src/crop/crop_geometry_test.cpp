#include "crop/crop_geometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

namespace qx {
namespace {

TEST(QuarterTurn, ClassifiesByTheTruncatedThresholds) {
  const auto turn = [](double angle) {
    const QuarterTurn t = NearestQuarterTurn(angle);
    return std::pair(t.cos, t.sin);
  };
  // pi/4 itself lies above the first threshold, 3 pi/4 above the second.
  EXPECT_EQ(turn(0.78539815), std::pair(1.0, 0.0));
  EXPECT_EQ(turn(std::atan2(1.0, 1.0)), std::pair(0.0, 1.0));
  EXPECT_EQ(turn(-std::atan2(1.0, 1.0)), std::pair(0.0, -1.0));
  EXPECT_EQ(turn(2.35619445), std::pair(0.0, 1.0));
  EXPECT_EQ(turn(2.3561944500000003), std::pair(-1.0, 0.0));
  EXPECT_EQ(turn(-3.0), std::pair(-1.0, 0.0));
  EXPECT_EQ(turn(std::nan("")), std::pair(-1.0, 0.0));
}

}  // namespace
}  // namespace qx
