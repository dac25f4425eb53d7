// What the files for 64-bit ARM share: pixels of three bytes as doubles, four at a time. Products and sums stay apart:
// fused ones would change results. Nothing here has external linkage.
#ifndef QX_KERNELS_NEON_PIXELS_H
#define QX_KERNELS_NEON_PIXELS_H

#include <arm_neon.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qx::neon {
namespace {

// Weights of the right and the lower neighbours of two pixels, and one less them.
struct Weights {
  Weights(float64x2_t right, float64x2_t lower)
      : fx(right), gx(vsubq_f64(vdupq_n_f64(1), right)), fy(lower), gy(vsubq_f64(vdupq_n_f64(1), lower)) {}
  float64x2_t fx, gx, fy, gy;
};

inline float64x2_t Blend(float64x2_t upperLeft, float64x2_t lowerLeft, float64x2_t upperRight, float64x2_t lowerRight,
                         const Weights& w) {
  float64x2_t sum = vaddq_f64(vmulq_f64(vmulq_f64(upperLeft, w.gx), w.gy), vmulq_f64(vmulq_f64(lowerLeft, w.gx), w.fy));
  sum = vaddq_f64(sum, vmulq_f64(vmulq_f64(upperRight, w.fx), w.gy));
  return vaddq_f64(sum, vmulq_f64(vmulq_f64(lowerRight, w.fx), w.fy));
}

// Channel by channel, two pixels a and b and their right neighbours.
struct PixelPairs {
  // Reads eight bytes each: two more than count.
  PixelPairs(const uint8_t* a, const uint8_t* b) {
    const uint8x8_t bytesOfA = vld1_u8(a), bytesOfB = vld1_u8(b);
    const uint16x8_t first = vmovl_u8(vzip1_u8(bytesOfA, bytesOfB)), last = vmovl_u8(vzip2_u8(bytesOfA, bytesOfB));
    Convert(vmovl_u16(vget_low_u16(first)), &left[0], &left[1]);
    Convert(vmovl_high_u16(first), &left[2], &right[0]);
    Convert(vmovl_u16(vget_low_u16(last)), &right[1], &right[2]);
  }
  float64x2_t left[3], right[3];

 private:
  static void Convert(uint32x4_t whole, float64x2_t* low, float64x2_t* high) {
    *low = vcvtq_f64_u64(vmovl_u32(vget_low_u32(whole)));
    *high = vcvtq_f64_u64(vmovl_high_u32(whole));
  }
};

// Channel by channel, two pixels between their neighbours in an upper and a lower row.
struct BlendedPair {
  BlendedPair(const PixelPairs& upper, const PixelPairs& lower, const Weights& weights) {
    for (int c = 0; c < 3; ++c) {
      channels[c] = Blend(upper.left[c], lower.left[c], upper.right[c], lower.right[c], weights);
    }
  }
  float64x2_t channels[3];
};

// Truncates four numbers, which fit.
inline int32x4_t Truncate(float64x2_t low, float64x2_t high) {
  return vcombine_s32(vmovn_s64(vcvtq_s64_f64(low)), vmovn_s64(vcvtq_s64_f64(high)));
}

// The first 12 bytes of a vector: four pixels.
inline void Store12(uint8x16_t value, uint8_t* out) {
  vst1_u8(out, vget_low_u8(value));
  const uint32_t rest = vgetq_lane_u32(vreinterpretq_u32_u8(value), 2);
  std::memcpy(out + 8, &rest, 4);
}

// The low bytes of four pixels, which are given channel by channel.
inline void StoreChannels(int32x4_t blue, int32x4_t green, int32x4_t red, uint8_t* out) {
  const uint8x16_t toPixels = {0, 16, 32, 4, 20, 36, 8, 24, 40, 12, 28, 44, 255, 255, 255, 255};
  const uint8x16x3_t channels = {{vreinterpretq_u8_s32(blue), vreinterpretq_u8_s32(green), vreinterpretq_u8_s32(red)}};
  Store12(vqtbl3q_u8(channels, toPixels), out);
}

// The low bytes of four pixels, whose first three lanes are the channels.
inline void StorePixels(int32x4_t a, int32x4_t b, int32x4_t c, int32x4_t d, uint8_t* out) {
  const uint8x16_t toPixels = {0, 4, 8, 16, 20, 24, 32, 36, 40, 48, 52, 56, 255, 255, 255, 255};
  const uint8x16x4_t pixels = {
      {vreinterpretq_u8_s32(a), vreinterpretq_u8_s32(b), vreinterpretq_u8_s32(c), vreinterpretq_u8_s32(d)}};
  Store12(vqtbl4q_u8(pixels, toPixels), out);
}

}  // namespace
}  // namespace qx::neon

#endif  // QX_KERNELS_NEON_PIXELS_H
