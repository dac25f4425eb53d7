// IEEE 754 binary16, in which networks store their constants.
#ifndef QX_NN_HALF_FLOAT_H
#define QX_NN_HALF_FLOAT_H

#include <cstdint>
#include <cstring>

namespace qx::nn {

// Exact for every bit pattern; a NaN keeps its payload. Without a branch, so that a loop over it runs on whole vectors.
inline float HalfToFloat(uint16_t half) {
  const uint32_t magnitude = half & 0x7fffu;
  const uint32_t rebias = (magnitude >= 0x7c00u ? 224u : 112u) << 23;  // infinities and NaNs take the highest exponent
  const float small = static_cast<float>(static_cast<int32_t>(magnitude)) * 0x1p-24f;  // a subnormal counts units
  uint32_t bits;
  std::memcpy(&bits, &small, sizeof bits);
  bits = (magnitude < 0x400u ? bits : (magnitude << 13) + rebias) | static_cast<uint32_t>(half & 0x8000u) << 16;
  float value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

}  // namespace qx::nn

#endif  // QX_NN_HALF_FLOAT_H
