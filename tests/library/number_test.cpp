#include "base/number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "crop/quarter_turn.h"

namespace qx {
namespace {

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

TEST(Number, TruncationGivesTheLowestIntegerForWhatDoesNotFit) {
  EXPECT_EQ(TruncToInt32(2.9), 2);
  EXPECT_EQ(TruncToInt32(-2.9), -2);
  EXPECT_EQ(TruncToInt32(2147483647.9), kHighest);
  EXPECT_EQ(TruncToInt32(2147483648.0), kLowest);
  EXPECT_EQ(TruncToInt32(-2147483648.9), kLowest);
  EXPECT_EQ(TruncToInt32(1e300), kLowest);
  EXPECT_EQ(TruncToInt32(std::nan("")), kLowest);
  EXPECT_EQ(TruncToInt32(-std::numeric_limits<double>::infinity()), kLowest);
}

TEST(Number, RoundsHalfAwayFromZero) {
  EXPECT_EQ(RoundHalfAwayToInt32(2.5), 3);
  EXPECT_EQ(RoundHalfAwayToInt32(-2.5), -3);
  EXPECT_EQ(RoundHalfAwayToInt32(-0.4), 0);
  EXPECT_EQ(RoundHalfAwayToInt32(2.49), 2);
}

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
