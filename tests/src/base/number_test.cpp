#include "base/number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

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

}  // namespace
}  // namespace qx
