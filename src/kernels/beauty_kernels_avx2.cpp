// Compiled with AVX2 and called only on processors that have it. Fused multiply-add is left out on purpose: it would
// change results.
#include <immintrin.h>
#include <math.h>
#include <string.h>

#include "kernels/beauty_kernels.h"
#include "kernels/variants.h"

namespace qx::avx2 {
namespace {

// The first 12 bytes of a vector: four pixels.
inline void Store12(__m128i value, uint8_t* out) {
  _mm_storel_epi64(reinterpret_cast<__m128i*>(out), value);
  const int32_t rest = _mm_extract_epi32(value, 2);
  memcpy(out + 8, &rest, 4);
}

inline int32_t Load4(const uint8_t* p) {
  int32_t bytes;
  memcpy(&bytes, p, 4);
  return bytes;
}

// ---- Colour table

// Two entries that are neighbours along blue: the first four bytes of six, then the last four.
inline __m128i LoadNeighbours(const uint8_t* entry, __m128i low) {
  return _mm_insert_epi32(_mm_insert_epi32(low, Load4(entry), 2), Load4(entry + 2), 3);
}
inline __m128i LoadNeighbours(const uint8_t* entry) {
  return _mm_insert_epi32(_mm_cvtsi32_si128(Load4(entry)), Load4(entry + 2), 1);
}

// Blue, green and red of one pixel, looked up; the fourth is 0. Lanes are the lower and the upper grid point of red.
inline __m128i LookUp(const uint8_t* table, const uint8_t* bgr) {
  const Grid blue = Split(bgr[0]), green = Split(bgr[1]), red = Split(bgr[2]);
  const uint8_t* entry = EntryOf(table, blue, green, red);
  const __m256i corners =
      _mm256_inserti128_si256(_mm256_castsi128_si256(LoadNeighbours(entry + kGreenStep, LoadNeighbours(entry))),
                              LoadNeighbours(entry + kRedStep + kGreenStep, LoadNeighbours(entry + kRedStep)), 1);
  // For blue, green, red: the two neighbours along blue at the lower grid point of green, then at the upper one.
  const __m256i inPairs =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(2, 7, 10, 15, 1, 6, 9, 14, 0, 3, 8, 11, -1, -1, -1, -1));
  const auto blueWeights = static_cast<int16_t>((8 - blue.upperWeight) | blue.upperWeight << 8);
  const __m256i alongBlue = _mm256_maddubs_epi16(_mm256_shuffle_epi8(corners, inPairs), _mm256_set1_epi16(blueWeights));
  const int32_t greenWeights = (8 - green.upperWeight) | green.upperWeight << 16;
  const __m256i weights = _mm256_inserti128_si256(_mm256_set1_epi32(greenWeights * (8 - red.upperWeight)),
                                                  _mm_set1_epi32(greenWeights * red.upperWeight), 1);
  const __m256i alongGreen = _mm256_madd_epi16(alongBlue, weights);
  const __m128i sum = _mm_add_epi32(_mm256_castsi256_si128(alongGreen), _mm256_extracti128_si256(alongGreen, 1));
  return _mm_srli_epi32(sum, 9);
}

inline __m128i TonePixelLanes(const uint8_t* table, const uint8_t* bgr, __m256d t, __m256d s) {
  const __m256d looked = _mm256_cvtepi32_pd(LookUp(table, bgr));
  const __m256d input = _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(Load4(bgr))));
  return _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_mul_pd(input, t), _mm256_mul_pd(looked, s)));
}

size_t ToneBlocks(const uint8_t* table, const uint8_t* bgr, size_t count, double t, double s, uint8_t* out) {
  const __m256d ts = _mm256_set1_pd(t), ss = _mm256_set1_pd(s);
  const __m128i lowBytes = _mm_set1_epi32(255);
  const __m128i toPixels = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
  size_t k = 0;
  // Four pixels at a time; the last load ends a byte after them.
  for (; k + 5 <= count; k += 4, bgr += 12) {
    const __m128i a = _mm_and_si128(TonePixelLanes(table, bgr, ts, ss), lowBytes);
    const __m128i b = _mm_and_si128(TonePixelLanes(table, bgr + 3, ts, ss), lowBytes);
    const __m128i c = _mm_and_si128(TonePixelLanes(table, bgr + 6, ts, ss), lowBytes);
    const __m128i d = _mm_and_si128(TonePixelLanes(table, bgr + 9, ts, ss), lowBytes);
    const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
    Store12(_mm_shuffle_epi8(bytes, toPixels), out + k * 3);
  }
  return k;
}

// ---- Lens

size_t LensPositionBlocks(const float* radii, int32_t dx, int32_t dy, float centreX, float centreY, size_t count,
                          float* sx, float* sy) {
  const __m256 cx = _mm256_set1_ps(centreX), cy = _mm256_set1_ps(centreY);
  const __m256 down = _mm256_set1_ps(static_cast<float>(dy));
  const __m256i downSquare = _mm256_set1_epi32(dy * dy);
  __m256i across = _mm256_add_epi32(_mm256_set1_epi32(dx), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
  size_t k = 0;
  for (; k + 8 <= count; k += 8, across = _mm256_add_epi32(across, _mm256_set1_epi32(8))) {
    const __m256i square = _mm256_add_epi32(_mm256_mullo_epi32(across, across), downSquare);
    const __m256 s = _mm256_i32gather_ps(radii, square, 4);
    const __m256 r = _mm256_sqrt_ps(_mm256_cvtepi32_ps(square));
    const __m256 x = _mm256_div_ps(_mm256_mul_ps(s, _mm256_cvtepi32_ps(across)), r);
    _mm256_storeu_ps(sx + k, _mm256_add_ps(x, cx));
    _mm256_storeu_ps(sy + k, _mm256_add_ps(_mm256_div_ps(_mm256_mul_ps(s, down), r), cy));
  }
  return k;
}

// A lane for each of two pixels, of which 8 bytes count.
inline __m256i LoadTwo(const uint8_t* a, const uint8_t* b) {
  return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(a))),
                                 _mm_loadl_epi64(reinterpret_cast<const __m128i*>(b)), 1);
}

// right * fx + left * gx for three channels of two pixels.
inline __m256 Across(__m256i pairs, __m256 fx, __m256 gx) {
  const __m256i toLeft =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(0, -1, -1, -1, 1, -1, -1, -1, 2, -1, -1, -1, -1, -1, -1, -1));
  const __m256i toRight =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(3, -1, -1, -1, 4, -1, -1, -1, 5, -1, -1, -1, -1, -1, -1, -1));
  return _mm256_add_ps(_mm256_mul_ps(_mm256_cvtepi32_ps(_mm256_shuffle_epi8(pairs, toRight)), fx),
                       _mm256_mul_ps(_mm256_cvtepi32_ps(_mm256_shuffle_epi8(pairs, toLeft)), gx));
}

// Fractions of eight positions, and one less them.
struct Fractions {
  __m256 fx, gx, fy, gy;
};

// Two of the eight: `which` names the one of the low lane four times, then that of the high lane.
inline __m256i SampleTwo(const uint8_t* a, const uint8_t* b, size_t stride, const Fractions& f, __m256i which) {
  const __m256 fx = _mm256_permutevar8x32_ps(f.fx, which), gx = _mm256_permutevar8x32_ps(f.gx, which);
  const __m256 fy = _mm256_permutevar8x32_ps(f.fy, which), gy = _mm256_permutevar8x32_ps(f.gy, which);
  const __m256 lower = Across(LoadTwo(a + stride, b + stride), fx, gx);
  const __m256 upper = Across(LoadTwo(a, b), fx, gx);
  return _mm256_cvttps_epi32(_mm256_add_ps(_mm256_mul_ps(lower, fy), _mm256_mul_ps(upper, gy)));
}

// Eight pixels at a time while all are inside; returns where it stopped. Loads reach two bytes beyond a neighbour, so
// the last row of the source is left out.
size_t LensSampleBlocks(const SampleSource& source, const float* sx, const float* sy, size_t count, uint8_t* out) {
  const __m256 right = _mm256_set1_ps(static_cast<float>(source.width - 1));
  const __m256 bottom = _mm256_set1_ps(static_cast<float>(source.height - 2));
  const __m256 zero = _mm256_setzero_ps(), one = _mm256_set1_ps(1);
  const __m256i firstTwo = _mm256_setr_epi32(0, 0, 0, 0, 1, 1, 1, 1), two = _mm256_set1_epi32(2);
  const __m256i toPixels = _mm256_setr_epi8(0, 1, 2, -1, -1, -1, 4, 5, 6, -1, -1, -1, -1, -1, -1, -1,  //
                                            -1, -1, -1, 0, 1, 2, -1, -1, -1, 4, 5, 6, -1, -1, -1, -1);
  const size_t stride = static_cast<size_t>(source.width) * 3;
  size_t k = 0;
  for (; k + 8 <= count; k += 8) {
    const __m256 x = _mm256_loadu_ps(sx + k), y = _mm256_loadu_ps(sy + k);
    const __m256 inside =
        _mm256_and_ps(_mm256_and_ps(_mm256_cmp_ps(x, zero, _CMP_GE_OQ), _mm256_cmp_ps(x, right, _CMP_LT_OQ)),
                      _mm256_and_ps(_mm256_cmp_ps(y, zero, _CMP_GE_OQ), _mm256_cmp_ps(y, bottom, _CMP_LT_OQ)));
    if (_mm256_movemask_ps(inside) != 255) break;
    const __m256i ix = _mm256_cvttps_epi32(x), iy = _mm256_cvttps_epi32(y);
    alignas(32) int32_t columns[8], rows[8];
    _mm256_store_si256(reinterpret_cast<__m256i*>(columns), ix);
    _mm256_store_si256(reinterpret_cast<__m256i*>(rows), iy);
    Fractions f;
    f.fx = _mm256_sub_ps(x, _mm256_cvtepi32_ps(ix));
    f.fy = _mm256_sub_ps(y, _mm256_cvtepi32_ps(iy));
    f.gx = _mm256_sub_ps(one, f.fx);
    f.gy = _mm256_sub_ps(one, f.fy);
    const auto at = [&](size_t i) {
      return source.pixels + static_cast<size_t>(rows[i]) * stride + static_cast<size_t>(columns[i]) * 3;
    };
    __m256i which = firstTwo;
    for (size_t i = 0; i < 8; i += 4) {
      const __m256i a = SampleTwo(at(i), at(i + 1), stride, f, which);
      which = _mm256_add_epi32(which, two);
      const __m256i b = SampleTwo(at(i + 2), at(i + 3), stride, f, which);
      which = _mm256_add_epi32(which, two);
      const __m256i words = _mm256_packs_epi32(a, b);
      const __m256i pixels = _mm256_shuffle_epi8(_mm256_packus_epi16(words, words), toPixels);
      Store12(_mm_or_si128(_mm256_castsi256_si128(pixels), _mm256_extracti128_si256(pixels, 1)), out + (k + i) * 3);
    }
  }
  return k;
}

// ---- Affine map

// Fractions of four positions and one less them.
struct Weights {
  __m256d fx, gx, fy, gy;
};

// Sums of the four neighbours, one a lane.
inline __m128i BlendLanes(__m128i upperLeft, __m128i lowerLeft, __m128i upperRight, __m128i lowerRight,
                          const Weights& w) {
  const auto times = [](__m128i bytes, __m256d across, __m256d down) __attribute__((always_inline)) {
    return _mm256_mul_pd(_mm256_mul_pd(_mm256_cvtepi32_pd(bytes), across), down);
  };
  __m256d sum = _mm256_add_pd(times(upperLeft, w.gx, w.gy), times(lowerLeft, w.gx, w.fy));
  sum = _mm256_add_pd(sum, times(upperRight, w.fx, w.gy));
  return _mm256_cvttpd_epi32(_mm256_add_pd(sum, times(lowerRight, w.fx, w.fy)));
}

// Three channels of a pixel, and a byte that does not matter.
inline __m128i LoadPixel(const uint8_t* p) {
  return _mm_cvtepu8_epi32(_mm_cvtsi32_si128(Load4(p)));
}

// The same for the three channels of one pixel, number i of those whose weights are stored in four rows of four.
inline __m128i AffinePixel(const uint8_t* p, size_t stride, const double* stored, size_t i) {
  const Weights w = {_mm256_broadcast_sd(stored + i), _mm256_broadcast_sd(stored + 4 + i),
                     _mm256_broadcast_sd(stored + 8 + i), _mm256_broadcast_sd(stored + 12 + i)};
  return BlendLanes(LoadPixel(p), LoadPixel(p + stride), LoadPixel(p + 3), LoadPixel(p + stride + 3), w);
}

inline __m128i MaskPixels(const uint8_t* mask, const size_t* at, size_t stride, const Weights& w) {
  const auto four = [&](size_t step) {
    return _mm_setr_epi32(mask[at[0] + step], mask[at[1] + step], mask[at[2] + step], mask[at[3] + step]);
  };
  return BlendLanes(four(0), four(stride), four(1), four(stride + 1), w);
}

// Four pixels at a time while all neighbours are inside; returns where it stopped. Loads reach a byte beyond a
// neighbour, so the last row of the source is left out.
size_t AffineSampleBlocks(const SampleSource& source, const uint8_t* mask, const AffineRun& run, size_t k, size_t count,
                          uint8_t* out, uint8_t* maskOut) {
  const __m256d right = _mm256_set1_pd(source.width - 1), bottom = _mm256_set1_pd(source.height - 2);
  const __m256d zero = _mm256_setzero_pd(), one = _mm256_set1_pd(1), determinant = _mm256_set1_pd(run.determinant);
  const __m128i toPixels = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
  const size_t stride = static_cast<size_t>(source.width);
  const auto map = [&](__m256d x, double along, double row, double constant) __attribute__((always_inline)) {
    const __m256d sum = _mm256_add_pd(_mm256_mul_pd(_mm256_set1_pd(along), x), _mm256_set1_pd(row));
    return _mm256_div_pd(_mm256_add_pd(sum, _mm256_set1_pd(constant)), determinant);
  };
  for (; k + 4 <= count; k += 4) {
    const double first = static_cast<double>(run.x) + static_cast<double>(k);
    const __m256d x = _mm256_add_pd(_mm256_set1_pd(first), _mm256_setr_pd(0, 1, 2, 3));
    const __m256d sx = map(x, run.xAlong, run.xRow, run.xConstant);
    const __m256d sy = map(x, run.yAlong, run.yRow, run.yConstant);
    const __m256d inside =
        _mm256_and_pd(_mm256_and_pd(_mm256_cmp_pd(sx, zero, _CMP_GE_OQ), _mm256_cmp_pd(sx, right, _CMP_LT_OQ)),
                      _mm256_and_pd(_mm256_cmp_pd(sy, zero, _CMP_GE_OQ), _mm256_cmp_pd(sy, bottom, _CMP_LT_OQ)));
    if (_mm256_movemask_pd(inside) != 15) break;
    const __m128i ix = _mm256_cvttpd_epi32(sx), iy = _mm256_cvttpd_epi32(sy);
    Weights w;
    w.fx = _mm256_sub_pd(sx, _mm256_cvtepi32_pd(ix));
    w.fy = _mm256_sub_pd(sy, _mm256_cvtepi32_pd(iy));
    w.gx = _mm256_sub_pd(one, w.fx);
    w.gy = _mm256_sub_pd(one, w.fy);
    alignas(16) int32_t columns[4], rows[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(columns), ix);
    _mm_store_si128(reinterpret_cast<__m128i*>(rows), iy);
    size_t at[4];
    for (size_t i = 0; i < 4; ++i) at[i] = static_cast<size_t>(rows[i]) * stride + static_cast<size_t>(columns[i]);
    alignas(32) double stored[16];
    _mm256_store_pd(stored, w.fx);
    _mm256_store_pd(stored + 4, w.gx);
    _mm256_store_pd(stored + 8, w.fy);
    _mm256_store_pd(stored + 12, w.gy);
    const auto pixel = [&](size_t i) __attribute__((always_inline)) {
      return AffinePixel(source.pixels + at[i] * 3, stride * 3, stored, i);
    };
    const __m128i a = _mm_packs_epi32(pixel(0), pixel(1)), b = _mm_packs_epi32(pixel(2), pixel(3));
    Store12(_mm_shuffle_epi8(_mm_packus_epi16(a, b), toPixels), out + k * 3);
    if (mask == nullptr) continue;
    const __m128i words = _mm_packs_epi32(MaskPixels(mask, at, stride, w), _mm_setzero_si128());
    const int32_t bytes = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
    memcpy(maskOut + k, &bytes, 4);
  }
  return k;
}

}  // namespace
}  // namespace qx::avx2

#define QX_KERNELS_VARIANT avx2
#include "kernels/beauty_kernels_body.inc"
