// Conversions and arithmetic with defined results for every input.
#ifndef QX_BASE_NUMBER_H
#define QX_BASE_NUMBER_H

#include <cmath>
#include <cstdint>
#include <limits>

namespace qx {

// Drops the fraction. NaN and values that do not fit give the most negative int32, as the processor's own
// conversion does; scores and sizes rely on it. The only conversion from double to int32 in the library.
inline int32_t TruncToInt32(double value) {
  if (!(value > -2147483649.0 && value < 2147483648.0)) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(value);
}

// Half away from zero, then TruncToInt32.
inline int32_t RoundHalfAwayToInt32(double value) {
  return TruncToInt32(value > 0 ? std::floor(value + 0.5) : std::ceil(value - 0.5));
}

// int32 arithmetic that wraps around instead of overflowing.
inline int32_t WrapAdd(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
inline int32_t WrapSub(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
inline int32_t WrapMul(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

}  // namespace qx

#endif  // QX_BASE_NUMBER_H
