#include "nn/half_float.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace qx::nn {
namespace {

// The value that the format defines: (-1)^s * 2^(e-15) * 1.m, or 2^-14 * 0.m when e is 0.
double Defined(uint16_t half) {
  const int exponent = (half >> 10) & 31;
  const int mantissa = half & 1023;
  double value = exponent == 0 ? std::ldexp(mantissa, -24) : std::ldexp(1024 + mantissa, exponent - 25);
  if (exponent == 31) {
    value = mantissa == 0 ? std::numeric_limits<double>::infinity() : std::numeric_limits<double>::quiet_NaN();
  }
  return (half & 0x8000) != 0 ? -value : value;
}

TEST(HalfFloatTest, EveryBitPatternHasItsValue) {
  for (uint32_t bits = 0; bits < 65536; ++bits) {
    const uint16_t half = static_cast<uint16_t>(bits);
    const double value = HalfToFloat(half);
    const double defined = Defined(half);
    ASSERT_EQ(std::signbit(value), std::signbit(defined)) << bits;
    ASSERT_TRUE(value == defined || (std::isnan(value) && std::isnan(defined))) << bits << ": " << value;
  }
}

}  // namespace
}  // namespace qx::nn
