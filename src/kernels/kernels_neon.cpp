// For 64-bit ARM, where these instructions are always there. Products and sums stay apart: fused ones would change
// results.
#include <arm_neon.h>

#include <cmath>
#include <initializer_list>

#include "kernels/kernels.h"

namespace qx::neon {
namespace {

struct Extent {
  size_t width, height;
};

// Four sums divided by 1000. With e = s >> 3, s / 1000 = e / 125; and since 33555 * 125 = 2^22 + 71, the product
// e * 33555 >> 22 is e / 125 as long as e * 71 < 2^22, e < 59,075; here e is at most 255,500 / 8.
uint16x4_t Luma(uint16x4_t blue, uint16x4_t green, uint16x4_t red) {
  uint32x4_t sum = vaddq_u32(vmull_n_u16(red, 299), vmull_n_u16(green, 587));
  sum = vaddq_u32(vaddq_u32(sum, vmull_n_u16(blue, 114)), vdupq_n_u32(500));
  return vmovn_u32(vshrq_n_u32(vmull_n_u16(vmovn_u32(vshrq_n_u32(sum, 3)), 33555), 22));
}

size_t GreyBlocks(const uint8_t* bgr, size_t count, uint8_t* grey) {
  size_t i = 0;
  for (; i + 8 <= count; i += 8) {
    const uint8x8x3_t pixels = vld3_u8(bgr + i * 3);
    const uint16x8_t b = vmovl_u8(pixels.val[0]), g = vmovl_u8(pixels.val[1]), r = vmovl_u8(pixels.val[2]);
    const uint16x4_t low = Luma(vget_low_u16(b), vget_low_u16(g), vget_low_u16(r));
    const uint16x4_t high = Luma(vget_high_u16(b), vget_high_u16(g), vget_high_u16(r));
    vst1_u8(grey + i, vmovn_u16(vcombine_u16(low, high)));
  }
  return i;
}

float64x2_t Doubles(uint32x2_t whole) {
  return vcvtq_f64_u64(vmovl_u32(whole));
}

// A pixel and its right neighbour: channels 0 and 1 of each, and channel 2 with something that does not matter.
struct Pair {
  float64x2_t left01, left2, right01, right2;

  // Reads eight bytes.
  explicit Pair(const uint8_t* p) {
    const uint16x8_t words = vmovl_u8(vld1_u8(p));
    const uint32x4_t low = vmovl_u16(vget_low_u16(words)), high = vmovl_u16(vget_high_u16(words));
    const float64x2_t last = Doubles(vget_low_u32(high));  // channels 1 and 2 of the neighbour
    left01 = Doubles(vget_low_u32(low));
    left2 = Doubles(vget_high_u32(low));
    right01 = vextq_f64(left2, last, 1);
    right2 = vextq_f64(last, last, 1);
  }
};

// Pixels begin to end, all with first + 3 <= extent: up to two bytes after the right neighbour are read.
size_t BlendBlocks(const BlendRun& run, size_t begin, size_t end, uint8_t* out) {
  const double fy = run.lowerWeight, gy = 1 - fy;
  for (size_t k = begin; k < end; ++k) {
    const size_t at = static_cast<size_t>(run.first[k]) * 3;
    const Pair upper(run.upper + at), lower(run.lower + at);
    const double fx = run.fraction[k], gx = 1 - fx;
    const auto blend = [=](float64x2_t p00, float64x2_t p01, float64x2_t p10, float64x2_t p11) {
      float64x2_t sum = vaddq_f64(vmulq_n_f64(vmulq_n_f64(p00, gx), gy), vmulq_n_f64(vmulq_n_f64(p01, gx), fy));
      sum = vaddq_f64(sum, vmulq_n_f64(vmulq_n_f64(p10, fx), gy));
      sum = vaddq_f64(sum, vmulq_n_f64(vmulq_n_f64(p11, fx), fy));
      return vcvtq_s64_f64(vaddq_f64(sum, vdupq_n_f64(0.5)));
    };
    const int64x2_t first = blend(upper.left01, lower.left01, upper.right01, lower.right01);
    const int64x2_t last = blend(upper.left2, lower.left2, upper.right2, lower.right2);
    out[k * 3] = static_cast<uint8_t>(vgetq_lane_s64(first, 0));
    out[k * 3 + 1] = static_cast<uint8_t>(vgetq_lane_s64(first, 1));
    out[k * 3 + 2] = static_cast<uint8_t>(vgetq_lane_s64(last, 0));
  }
  return end - begin;
}

size_t ReverseBlocks(const uint8_t* source, size_t count, uint8_t* out) {
  size_t k = 0;
  for (; k + 16 <= count; k += 16) {
    uint8x16x3_t pixels = vld3q_u8(source + (count - k - 16) * 3);
    for (uint8x16_t& channel : pixels.val) {
      const uint8x16_t halves = vrev64q_u8(channel);
      channel = vextq_u8(halves, halves, 8);
    }
    vst3q_u8(out + k * 3, pixels);
  }
  return k;
}

// Rows and columns of 8 x 8 bytes swapped.
void Transpose(uint8x8_t rows[8]) {
  uint8x8_t a[8];
  for (int i = 0; i < 8; i += 2) {  // bytes of neighbouring rows
    a[i] = vtrn1_u8(rows[i], rows[i + 1]);
    a[i + 1] = vtrn2_u8(rows[i], rows[i + 1]);
  }
  uint16x4_t b[8];
  for (int i : {0, 1, 4, 5}) {  // pairs of bytes, of rows two apart
    const uint16x4_t low = vreinterpret_u16_u8(a[i]), high = vreinterpret_u16_u8(a[i + 2]);
    b[i] = vtrn1_u16(low, high);
    b[i + 2] = vtrn2_u16(low, high);
  }
  for (int i = 0; i < 4; ++i) {  // fours of bytes, of rows four apart
    const uint32x2_t low = vreinterpret_u32_u16(b[i]), high = vreinterpret_u32_u16(b[i + 4]);
    rows[i] = vreinterpret_u8_u32(vtrn1_u32(low, high));
    rows[i + 4] = vreinterpret_u8_u32(vtrn2_u32(low, high));
  }
}

void TurnBlock(const uint8_t* source, ptrdiff_t sourceStride, uint8_t* out, ptrdiff_t outStride) {
  uint8x8_t channels[3][8];
  for (ptrdiff_t y = 0; y < 8; ++y) {
    const uint8x8x3_t pixels = vld3_u8(source + y * sourceStride);
    for (int c = 0; c < 3; ++c) channels[c][y] = pixels.val[c];
  }
  for (auto& channel : channels) Transpose(channel);
  for (ptrdiff_t x = 0; x < 8; ++x) {
    vst3_u8(out + x * outStride, uint8x8x3_t{{channels[0][x], channels[1][x], channels[2][x]}});
  }
}

Extent TurnBlocks(const uint8_t* source, ptrdiff_t sourceStride, size_t width, size_t height, uint8_t* out,
                  ptrdiff_t outStride) {
  const Extent done = {width / 8 * 8, height / 8 * 8};
  for (size_t x = 0; x < done.width; x += 8, source += 24, out += 8 * outStride) {
    const uint8_t* from = source;
    for (size_t y = 0; y < done.height; y += 8, from += 8 * sourceStride) {
      TurnBlock(from, sourceStride, out + y * 3, outStride);
    }
  }
  return done;
}

size_t ChannelBlocks(const uint8_t* bgr, size_t count, uint64_t* sums) {
  uint64x2_t total[3] = {vdupq_n_u64(0), vdupq_n_u64(0), vdupq_n_u64(0)};
  size_t k = 0;
  for (; k + 16 <= count; k += 16) {
    const uint8x16x3_t pixels = vld3q_u8(bgr + k * 3);
    for (int c = 0; c < 3; ++c) total[c] = vpadalq_u32(total[c], vpaddlq_u16(vpaddlq_u8(pixels.val[c])));
  }
  for (int c = 0; c < 3; ++c) sums[c] += vaddvq_u64(total[c]);
  return k;
}

size_t DistanceBlocks(const uint8_t*, size_t, const double*, double*) {
  return 0;
}

}  // namespace
}  // namespace qx::neon

#define QX_KERNELS_VARIANT neon
#define QX_KERNELS_NAME "neon"
#include "kernels/kernels_body.inc"
