// IEEE 754 binary16, in which networks store their constants.
#ifndef QX_NN_HALF_FLOAT_H
#define QX_NN_HALF_FLOAT_H

#include <cstdint>
#include <cstring>

namespace qx::nn {

// Exact for every bit pattern; a NaN keeps its payload.
inline float HalfToFloat(uint16_t half) {
  const uint32_t sign = static_cast<uint32_t>(half & 0x8000u) << 16;
  uint32_t exponent = (half >> 10) & 31u;
  uint32_t mantissa = half & 1023u;
  uint32_t bits = sign;
  if (exponent == 31) {
    bits |= 0x7f800000u | mantissa << 13;
  } else if (exponent != 0) {
    bits |= (exponent + 112u) << 23 | mantissa << 13;
  } else if (mantissa != 0) {  // subnormal: shift the leading bit to where it is implied
    exponent = 113;
    for (; (mantissa & 1024u) == 0; mantissa <<= 1) --exponent;
    bits |= exponent << 23 | (mantissa & 1023u) << 13;
  }
  float value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

}  // namespace qx::nn

#endif  // QX_NN_HALF_FLOAT_H
