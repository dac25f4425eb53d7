// For 64-bit ARM, where these instructions are always there. Products and sums stay apart: fused ones would change
// results.
#include <arm_neon.h>
#include <math.h>
#include <string.h>

#include "kernels/beauty_kernels.h"
#include "kernels/neon_pixels.h"
#include "kernels/variants.h"

namespace qx::neon {
namespace {

bool All(uint32x4_t mask) {
  return vminvq_u32(mask) != 0;
}

// ---- Colour table

// Two entries that are neighbours along blue: the first four bytes of six, then the last four.
inline uint64_t LoadNeighbours(const uint8_t* entry) {
  uint32_t first, last;
  memcpy(&first, entry, 4);
  memcpy(&last, entry + 2, 4);
  return first | uint64_t{last} << 32;
}

// Blue, green and red of one pixel, looked up; the fourth is 0.
inline uint32x4_t LookUp(const uint8_t* table, const uint8_t* bgr) {
  const Grid blue = Split(bgr[0]), green = Split(bgr[1]), red = Split(bgr[2]);
  const uint8_t* entry = EntryOf(table, blue, green, red);
  const uint64x2_t low = {LoadNeighbours(entry), LoadNeighbours(entry + kGreenStep)};
  const uint64x2_t high = {LoadNeighbours(entry + kRedStep), LoadNeighbours(entry + kRedStep + kGreenStep)};
  const uint8x16x2_t corners = {{vreinterpretq_u8_u64(low), vreinterpretq_u8_u64(high)}};
  // For each corner blue, green, red, of the lower and of the upper neighbour along blue.
  const uint8x16_t toLower = {2, 1, 0, 255, 10, 9, 8, 255, 18, 17, 16, 255, 26, 25, 24, 255};
  const uint8x16_t toUpper = {7, 6, 3, 255, 15, 14, 11, 255, 23, 22, 19, 255, 31, 30, 27, 255};
  const uint8x16_t lower = vqtbl2q_u8(corners, toLower), upper = vqtbl2q_u8(corners, toUpper);
  const uint8x16_t over = vdupq_n_u8(static_cast<uint8_t>(blue.upperWeight)), under = vsubq_u8(vdupq_n_u8(8), over);
  const auto upperWeight = [](const Grid& axis) { return static_cast<uint16_t>(axis.upperWeight); };
  const auto lowerWeight = [](const Grid& axis) { return static_cast<uint16_t>(8 - axis.upperWeight); };
  const auto alongGreen = [&](uint16x8_t alongBlue) {
    return vmla_n_u16(vmul_n_u16(vget_low_u16(alongBlue), lowerWeight(green)), vget_high_u16(alongBlue),
                      upperWeight(green));
  };
  const uint16x8_t first =
      vmlal_u8(vmull_u8(vget_low_u8(lower), vget_low_u8(under)), vget_low_u8(upper), vget_low_u8(over));
  const uint16x8_t last = vmlal_high_u8(vmull_high_u8(lower, under), upper, over);
  const uint32x4_t sum =
      vmlal_n_u16(vmull_n_u16(alongGreen(first), lowerWeight(red)), alongGreen(last), upperWeight(red));
  return vshrq_n_u32(sum, 9);
}

// Two whole numbers each of the input and of the table.
inline float64x2_t Mix(uint32x2_t input, uint32x2_t looked, float64x2_t t, float64x2_t s) {
  return vaddq_f64(vmulq_f64(vcvtq_f64_u64(vmovl_u32(input)), t), vmulq_f64(vcvtq_f64_u64(vmovl_u32(looked)), s));
}

// Reads four bytes.
inline int32x4_t TonePixelLanes(const uint8_t* table, const uint8_t* bgr, float64x2_t t, float64x2_t s) {
  uint32_t bytes;
  memcpy(&bytes, bgr, 4);
  const uint32x4_t input = vmovl_u16(vget_low_u16(vmovl_u8(vcreate_u8(bytes)))), looked = LookUp(table, bgr);
  return Truncate(Mix(vget_low_u32(input), vget_low_u32(looked), t, s),
                  Mix(vget_high_u32(input), vget_high_u32(looked), t, s));
}

size_t ToneBlocks(const uint8_t* table, const uint8_t* bgr, size_t count, double t, double s, uint8_t* out) {
  // Within this every sum fits; what does not is the plain loop's.
  constexpr double kLargest = 4e6;
  if (!(fabs(t) <= kLargest && fabs(s) <= kLargest)) return 0;
  const float64x2_t ts = vdupq_n_f64(t), ss = vdupq_n_f64(s);
  size_t k = 0;
  // Four pixels at a time; the last load ends a byte after them.
  for (; k + 5 <= count; k += 4, bgr += 12) {
    StorePixels(TonePixelLanes(table, bgr, ts, ss), TonePixelLanes(table, bgr + 3, ts, ss),
                TonePixelLanes(table, bgr + 6, ts, ss), TonePixelLanes(table, bgr + 9, ts, ss), out + k * 3);
  }
  return k;
}

// ---- Lens

// The radii lie scattered in their table, and nothing gathers them: the plain loop does as well.
size_t LensPositionBlocks(const float*, int32_t, int32_t, float, float, size_t, float*, float*) {
  return 0;
}

// right * fx + left * gx for three channels. Reads eight bytes.
inline float32x4_t Across(const uint8_t* pair, float fx, float gx) {
  const uint16x8_t words = vmovl_u8(vld1_u8(pair));
  const float32x4_t left = vcvtq_f32_u32(vmovl_u16(vget_low_u16(words)));
  const float32x4_t right = vcvtq_f32_u32(vmovl_u16(vget_low_u16(vextq_u16(words, words, 3))));
  return vaddq_f32(vmulq_n_f32(right, fx), vmulq_n_f32(left, gx));
}

// Four pixels at a time while all are inside; returns where it stopped. Loads reach two bytes beyond a neighbour, so
// the last row of the source is left out.
size_t LensSampleBlocks(const SampleSource& source, const float* sx, const float* sy, size_t count, uint8_t* out) {
  const float32x4_t right = vdupq_n_f32(static_cast<float>(source.width - 1));
  const float32x4_t bottom = vdupq_n_f32(static_cast<float>(source.height - 2));
  const float32x4_t one = vdupq_n_f32(1);
  const size_t stride = static_cast<size_t>(source.width) * 3;
  size_t k = 0;
  for (; k + 4 <= count; k += 4) {
    const float32x4_t x = vld1q_f32(sx + k), y = vld1q_f32(sy + k);
    const uint32x4_t inside =
        vandq_u32(vandq_u32(vcgezq_f32(x), vcltq_f32(x, right)), vandq_u32(vcgezq_f32(y), vcltq_f32(y, bottom)));
    if (!All(inside)) break;
    const int32x4_t ix = vcvtq_s32_f32(x), iy = vcvtq_s32_f32(y);
    const float32x4_t fxs = vsubq_f32(x, vcvtq_f32_s32(ix)), fys = vsubq_f32(y, vcvtq_f32_s32(iy));
    int32_t columns[4], rows[4];
    float fx[4], gx[4], fy[4], gy[4];
    vst1q_s32(columns, ix);
    vst1q_s32(rows, iy);
    vst1q_f32(fx, fxs);
    vst1q_f32(gx, vsubq_f32(one, fxs));
    vst1q_f32(fy, fys);
    vst1q_f32(gy, vsubq_f32(one, fys));
    const auto sample = [&](size_t i) {
      const uint8_t* upper =
          source.pixels + static_cast<size_t>(rows[i]) * stride + static_cast<size_t>(columns[i]) * 3;
      const float32x4_t lowerRow = Across(upper + stride, fx[i], gx[i]), upperRow = Across(upper, fx[i], gx[i]);
      return vcvtq_s32_f32(vaddq_f32(vmulq_n_f32(lowerRow, fy[i]), vmulq_n_f32(upperRow, gy[i])));
    };
    StorePixels(sample(0), sample(1), sample(2), sample(3), out + k * 3);
  }
  return k;
}

// ---- Affine map

// Source positions of two pixels, taken apart.
struct Positions {
  explicit Positions(float64x2_t position)
      : whole(vcvtq_s64_f64(position)), fraction(vsubq_f64(position, vcvtq_f64_s64(whole))) {}
  int64x2_t whole;
  float64x2_t fraction;
};

// Of two pixels: their first neighbours in the source, counted from its first pixel, and the weights.
struct Neighbours {
  Neighbours(const Positions& x, const Positions& y, size_t width) : weights(x.fraction, y.fraction) {
    const auto at = [=](int64_t column, int64_t row) {
      return static_cast<size_t>(row) * width + static_cast<size_t>(column);
    };
    a = at(vgetq_lane_s64(x.whole, 0), vgetq_lane_s64(y.whole, 0));
    b = at(vgetq_lane_s64(x.whole, 1), vgetq_lane_s64(y.whole, 1));
  }
  size_t a, b;
  Weights weights;
};

inline BlendedPair SamplePixels(const SampleSource& source, const Neighbours& n) {
  const size_t stride = static_cast<size_t>(source.width) * 3;
  const uint8_t *a = source.pixels + n.a * 3, *b = source.pixels + n.b * 3;
  return BlendedPair(PixelPairs(a, b), PixelPairs(a + stride, b + stride), n.weights);
}

inline float64x2_t SampleMask(const uint8_t* mask, size_t width, const Neighbours& n) {
  const auto two = [&](size_t step) {
    return float64x2_t{static_cast<double>(mask[n.a + step]), static_cast<double>(mask[n.b + step])};
  };
  return Blend(two(0), two(width), two(1), two(width + 1), n.weights);
}

// Four pixels at a time while all neighbours are inside; returns where it stopped. Loads reach two bytes beyond a
// neighbour, so the last row of the source is left out.
size_t AffineSampleBlocks(const SampleSource& source, const uint8_t* mask, const AffineRun& run, size_t k, size_t count,
                          uint8_t* out, uint8_t* maskOut) {
  const float64x2_t right = vdupq_n_f64(source.width - 1), bottom = vdupq_n_f64(source.height - 2);
  const float64x2_t determinant = vdupq_n_f64(run.determinant), oneMore = {0, 1};
  const auto width = static_cast<size_t>(source.width);
  const auto map = [&](float64x2_t x, double along, double row, double constant) {
    const float64x2_t sum = vaddq_f64(vmulq_n_f64(x, along), vdupq_n_f64(row));
    return vdivq_f64(vaddq_f64(sum, vdupq_n_f64(constant)), determinant);
  };
  const auto inside = [](float64x2_t position, float64x2_t end) {
    return vreinterpretq_u32_u64(vandq_u64(vcgezq_f64(position), vcltq_f64(position, end)));
  };
  for (; k + 4 <= count; k += 4) {
    const double first = static_cast<double>(run.x) + static_cast<double>(k);
    const float64x2_t x0 = vaddq_f64(vdupq_n_f64(first), oneMore), x2 = vaddq_f64(vdupq_n_f64(first + 2), oneMore);
    const float64x2_t sx0 = map(x0, run.xAlong, run.xRow, run.xConstant),
                      sx2 = map(x2, run.xAlong, run.xRow, run.xConstant);
    const float64x2_t sy0 = map(x0, run.yAlong, run.yRow, run.yConstant),
                      sy2 = map(x2, run.yAlong, run.yRow, run.yConstant);
    if (!All(vandq_u32(vandq_u32(inside(sx0, right), inside(sx2, right)),
                       vandq_u32(inside(sy0, bottom), inside(sy2, bottom))))) {
      break;
    }
    const Neighbours low(Positions(sx0), Positions(sy0), width), high(Positions(sx2), Positions(sy2), width);
    const BlendedPair ab = SamplePixels(source, low), cd = SamplePixels(source, high);
    const auto channel = [&](int c) { return Truncate(ab.channels[c], cd.channels[c]); };
    StoreChannels(channel(0), channel(1), channel(2), out + k * 3);
    if (mask == nullptr) continue;
    const int32x4_t values = Truncate(SampleMask(mask, width, low), SampleMask(mask, width, high));
    const uint16x4_t words = vmovn_u32(vreinterpretq_u32_s32(values));
    const uint32_t bytes = vget_lane_u32(vreinterpret_u32_u8(vmovn_u16(vcombine_u16(words, words))), 0);
    memcpy(maskOut + k, &bytes, 4);
  }
  return k;
}

}  // namespace
}  // namespace qx::neon

#define QX_KERNELS_VARIANT neon
#include "kernels/beauty_kernels_body.inc"
