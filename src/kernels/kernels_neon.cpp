// For 64-bit ARM, where these instructions are always there. Products and sums stay apart: fused ones would change
// results.
#include <arm_neon.h>

#include <cmath>
#include <initializer_list>

#include "kernels/kernels.h"
#include "kernels/neon_pixels.h"
#include "kernels/variants.h"

namespace qx::neon {
namespace {

// (299 R + 587 G + 114 B + 500) / 1000 of four pixels.
uint16x4_t Luma(uint16x4_t blue, uint16x4_t green, uint16x4_t red) {
  uint32x4_t sum = vaddq_u32(vmull_n_u16(red, 299), vmull_n_u16(green, 587));
  sum = vaddq_u32(vaddq_u32(sum, vmull_n_u16(blue, 114)), vdupq_n_u32(500));
  return vmovn_u32(vshrq_n_u32(vmull_n_u16(vmovn_u32(vshrq_n_u32(sum, 3)), kOver125), 22));
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

// Pixels begin to end, all with first + 3 <= extent: up to two bytes after the right neighbour are read.
size_t BlendBlocks(const BlendRun& run, size_t begin, size_t end, uint8_t* out) {
  const float64x2_t fy = vdupq_n_f64(run.lowerWeight), half = vdupq_n_f64(0.5);
  const auto blend = [&](size_t k) {
    const size_t a = static_cast<size_t>(run.first[k]) * 3, b = static_cast<size_t>(run.first[k + 1]) * 3;
    return BlendedPair(PixelPairs(run.upper + a, run.upper + b), PixelPairs(run.lower + a, run.lower + b),
                       Weights(vld1q_f64(run.fraction + k), fy));
  };
  size_t k = begin;
  for (; k + 4 <= end; k += 4) {
    const BlendedPair low = blend(k), high = blend(k + 2);
    const auto channel = [&](int c) {
      return Truncate(vaddq_f64(low.channels[c], half), vaddq_f64(high.channels[c], half));
    };
    StoreChannels(channel(0), channel(1), channel(2), out + k * 3);
  }
  return k - begin;
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

// The distances of four pixels, in floats.
float32x4_t Distances(uint16x4_t blue, uint16x4_t green, uint16x4_t red, const float32x4_t colour[3]) {
  const auto square = [](uint16x4_t bytes, float32x4_t from) {
    const float32x4_t difference = vsubq_f32(vcvtq_f32_u32(vmovl_u16(bytes)), from);
    return vmulq_f32(difference, difference);
  };
  return vsqrtq_f32(vaddq_f32(vaddq_f32(square(blue, colour[0]), square(green, colour[1])), square(red, colour[2])));
}

size_t DistanceBlocks(const uint8_t* bgr, size_t count, const double* colour, double* sum) {
  float32x4_t from[3];
  for (int c = 0; c < 3; ++c) from[c] = vdupq_n_f32(static_cast<float>(colour[c]));
  float64x2_t low = vdupq_n_f64(0), high = low;
  size_t k = 0;
  for (; k + 8 <= count; k += 8) {
    const uint8x8x3_t pixels = vld3_u8(bgr + k * 3);
    const uint16x8_t b = vmovl_u8(pixels.val[0]), g = vmovl_u8(pixels.val[1]), r = vmovl_u8(pixels.val[2]);
    for (const float32x4_t four : {Distances(vget_low_u16(b), vget_low_u16(g), vget_low_u16(r), from),
                                   Distances(vget_high_u16(b), vget_high_u16(g), vget_high_u16(r), from)}) {
      low = vaddq_f64(low, vcvt_f64_f32(vget_low_f32(four)));
      high = vaddq_f64(high, vcvt_high_f64_f32(four));
    }
  }
  *sum += vaddvq_f64(vaddq_f64(low, high));
  return k;
}

}  // namespace
}  // namespace qx::neon

#define QX_KERNELS_VARIANT neon
#define QX_KERNELS_NAME "neon"
#include "kernels/kernels_body.inc"
