// Compiled with AVX2 and called only on processors that have it. Fused multiply-add is left out on purpose: it would
// change results.
#include <immintrin.h>

#include <cmath>
#include <cstring>

#include "kernels/kernels.h"
#include "kernels/variants.h"

namespace qx::avx2 {
namespace {

__m128i Load16(const uint8_t* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// Two lanes of 16 bytes each.
__m256i LoadLanes(const uint8_t* low, const uint8_t* high) {
  return _mm256_inserti128_si256(_mm256_castsi128_si256(Load16(low)), Load16(high), 1);
}

// The first 12 bytes of a vector: four pixels.
void Store12(__m128i value, uint8_t* out) {
  _mm_storel_epi64(reinterpret_cast<__m128i*>(out), value);
  const int32_t rest = _mm_extract_epi32(value, 2);
  std::memcpy(out + 8, &rest, 4);
}

// (299 R + 587 G + 114 B + 500) >> 3 of the four pixels at `low` and the four at `high`, as int32. Reads 16 bytes each.
inline __m256i LumaEighths(const uint8_t* low, const uint8_t* high) {
  const __m256i toBlueGreen =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(0, -1, 1, -1, 3, -1, 4, -1, 6, -1, 7, -1, 9, -1, 10, -1));
  const __m256i toRed =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(2, -1, -1, -1, 5, -1, -1, -1, 8, -1, -1, -1, 11, -1, -1, -1));
  const __m256i pixels = LoadLanes(low, high);
  const __m256i blueGreen =
      _mm256_madd_epi16(_mm256_shuffle_epi8(pixels, toBlueGreen), _mm256_set1_epi32(587 << 16 | 114));
  const __m256i red = _mm256_madd_epi16(_mm256_shuffle_epi8(pixels, toRed), _mm256_set1_epi32(299));
  return _mm256_srli_epi32(_mm256_add_epi32(_mm256_add_epi32(blueGreen, red), _mm256_set1_epi32(500)), 3);
}

// Sixteen sums divided by 1000.
__m256i LumaOfEighths(__m256i a, __m256i b) {
  const __m256i eighths = _mm256_packus_epi32(a, b);
  return _mm256_srli_epi16(_mm256_mulhi_epu16(eighths, _mm256_set1_epi16(static_cast<int16_t>(kOver125))), 6);
}

size_t GreyBlocks(const uint8_t* bgr, size_t count, uint8_t* grey) {
  const __m256i inOrder = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
  size_t i = 0;
  // 32 pixels are 96 bytes; the last load ends 4 bytes after them.
  for (; i + 34 <= count; i += 32, bgr += 96) {
    const __m256i a = LumaOfEighths(LumaEighths(bgr, bgr + 12), LumaEighths(bgr + 24, bgr + 36));
    const __m256i b = LumaOfEighths(LumaEighths(bgr + 48, bgr + 60), LumaEighths(bgr + 72, bgr + 84));
    const __m256i luma = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(a, b), inOrder);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(grey + i), luma);
  }
  return i;
}

// Blending works in single precision, two pixels at a time, and leaves what that cannot decide to double precision.
//
// With D = right - left, upper = left + 0.5 + D fx, lower alike and r = upper + (lower - upper) fy, r is the real sum
// plus a half but for rounding. Every value is below 256, so each rounding errs by at most u = 2^-17, and so does the
// conversion of a fraction, times 255. upper and lower are off by 3 u (fx, product, sum), and so is their mean; the
// difference, fy, the product and the sum add 4 u. The sum in doubles is off by less than 2^-40. So where r lies
// farther than 8 u = 2^-14 from every whole number, both give the same when truncated.
//
// When fx and fy are multiples of 1/256, no step of either way rounds: products with fx have 8 fractional bits and
// those with fy 16, beside 8 whole ones. Then r decides everywhere. That matters, because such scales (1.25, 1.5) put
// many sums halfway between two bytes.
constexpr float kUndecided = 0x1p-14f;

bool IsShort(double fraction) {
  const double scaled = fraction * 256;
  return scaled == static_cast<double>(static_cast<int32_t>(scaled));
}

// All fractions are multiples of 1/256.
bool AreShort(const double* fractions, size_t count) {
  const __m256d ones = _mm256_set1_pd(256);
  size_t k = 0;
  for (; k + 4 <= count; k += 4) {
    const __m256d scaled = _mm256_mul_pd(_mm256_loadu_pd(fractions + k), ones);
    const __m256d whole = _mm256_round_pd(scaled, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
    if (_mm256_movemask_pd(_mm256_cmp_pd(scaled, whole, _CMP_NEQ_UQ)) != 0) return false;
  }
  for (; k < count; ++k) {
    if (!IsShort(fractions[k])) return false;
  }
  return true;
}

// A lane for each of two pixels: the pixel and its right neighbour, three channels each, in the first 8 bytes. The two
// bytes after the six are made 0x4B, the upper byte of the float 2^23, whose lowest byte counts ones.
__m256i LoadPairs(const uint8_t* a, const uint8_t* b) {
  const __m128i low = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(a));
  const __m128i high = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(b));
  return _mm256_blend_epi16(_mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1), _mm256_set1_epi16(0x4B4B),
                            0x88);
}

// left + 0.5 + (right - left) fx for three channels, the third twice.
__m256 BlendAcross(__m256i pairs, __m256 fx) {
  const __m256i toLeft =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(0, -1, -1, 7, 1, -1, -1, 7, 2, -1, -1, 7, 2, -1, -1, 7));
  const __m256i toRight =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(3, -1, -1, 7, 4, -1, -1, 7, 5, -1, -1, 7, 5, -1, -1, 7));
  const __m256 left = _mm256_castsi256_ps(_mm256_shuffle_epi8(pairs, toLeft));
  const __m256 right = _mm256_castsi256_ps(_mm256_shuffle_epi8(pairs, toRight));
  return _mm256_add_ps(_mm256_sub_ps(left, _mm256_set1_ps(0x1p23f - 0.5f)),
                       _mm256_mul_ps(_mm256_sub_ps(right, left), fx));
}

// r of output pixels k and k + 1, truncated; raises *undecided to r's distance from the middle between two whole
// numbers.
inline __m256i BlendTwo(const BlendRun& run, size_t k, __m256 fx, __m256 fy, __m256* undecided) {
  const size_t a = static_cast<size_t>(run.first[k]) * 3;
  const size_t b = static_cast<size_t>(run.first[k + 1]) * 3;
  const __m256 upper = BlendAcross(LoadPairs(run.upper + a, run.upper + b), fx);
  const __m256 lower = BlendAcross(LoadPairs(run.lower + a, run.lower + b), fx);
  const __m256 r = _mm256_add_ps(upper, _mm256_mul_ps(_mm256_sub_ps(lower, upper), fy));
  const __m256i whole = _mm256_cvttps_epi32(r);
  const __m256 fromMiddle = _mm256_sub_ps(_mm256_sub_ps(r, _mm256_cvtepi32_ps(whole)), _mm256_set1_ps(0.5f));
  *undecided = _mm256_max_ps(*undecided, _mm256_andnot_ps(_mm256_set1_ps(-0.0f), fromMiddle));
  return whole;
}

// Three channels of a pixel, and a byte that does not matter, as doubles.
inline __m256d LoadPixel(const uint8_t* p) {
  int32_t bytes;
  std::memcpy(&bytes, p, 4);
  return _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(bytes)));
}

// One pixel of blendRow as it is defined: its channels as int32.
[[gnu::always_inline]] inline __m128i BlendExactly(const BlendRun& run, size_t k, __m256d fy, __m256d gy) {
  const size_t at = static_cast<size_t>(run.first[k]) * 3;
  const __m256d fx = _mm256_broadcast_sd(run.fraction + k);
  const __m256d gx = _mm256_sub_pd(_mm256_set1_pd(1), fx);
  __m256d sum = _mm256_add_pd(_mm256_mul_pd(_mm256_mul_pd(LoadPixel(run.upper + at), gx), gy),
                              _mm256_mul_pd(_mm256_mul_pd(LoadPixel(run.lower + at), gx), fy));
  sum = _mm256_add_pd(sum, _mm256_mul_pd(_mm256_mul_pd(LoadPixel(run.upper + at + 3), fx), gy));
  sum = _mm256_add_pd(sum, _mm256_mul_pd(_mm256_mul_pd(LoadPixel(run.lower + at + 3), fx), fy));
  return _mm256_cvttpd_epi32(_mm256_add_pd(sum, _mm256_set1_pd(0.5)));
}

// Four pixels at a time, in doubles; returns where it stopped.
[[gnu::noinline]] size_t BlendDoubles(const BlendRun& run, size_t k, size_t end, uint8_t* out) {
  const __m256d fy = _mm256_set1_pd(run.lowerWeight);
  const __m256d gy = _mm256_sub_pd(_mm256_set1_pd(1), fy);
  const __m128i toPixels = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
  for (; k + 4 <= end; k += 4) {
    const __m128i a = _mm_packs_epi32(BlendExactly(run, k, fy, gy), BlendExactly(run, k + 1, fy, gy));
    const __m128i b = _mm_packs_epi32(BlendExactly(run, k + 2, fy, gy), BlendExactly(run, k + 3, fy, gy));
    Store12(_mm_shuffle_epi8(_mm_packus_epi16(a, b), toPixels), out + k * 3);
  }
  return k;
}

// Four pixels at a time, in floats where they decide; returns where it stopped.
size_t BlendFloats(const BlendRun& run, size_t k, size_t end, uint8_t* out) {
  const bool isShort = IsShort(run.lowerWeight) && AreShort(run.fraction + k, end - k);
  const __m256 limit = _mm256_set1_ps(isShort ? 0.5f : 0.5f - kUndecided);
  const __m256 fy = _mm256_set1_ps(static_cast<float>(run.lowerWeight));
  const __m256i firstTwo = _mm256_setr_epi32(0, 0, 0, 0, 1, 1, 1, 1);
  const __m256i lastTwo = _mm256_setr_epi32(2, 2, 2, 2, 3, 3, 3, 3);
  // Pixels 0 and 2 lie in the low lane, 1 and 3 in the high one.
  const __m256i toPixels = _mm256_setr_epi8(0, 1, 2, -1, -1, -1, 4, 5, 6, -1, -1, -1, -1, -1, -1, -1,  //
                                            -1, -1, -1, 0, 1, 2, -1, -1, -1, 4, 5, 6, -1, -1, -1, -1);
  // Where fractions and a flat picture make halves frequent, doubles alone are faster than both.
  size_t patience = (end - k) / 256;
  for (; k + 4 <= end; k += 4) {
    const __m256 fractions = _mm256_castps128_ps256(_mm256_cvtpd_ps(_mm256_loadu_pd(run.fraction + k)));
    __m256 undecided = _mm256_setzero_ps();
    const __m256i a = BlendTwo(run, k, _mm256_permutevar8x32_ps(fractions, firstTwo), fy, &undecided);
    const __m256i b = BlendTwo(run, k + 2, _mm256_permutevar8x32_ps(fractions, lastTwo), fy, &undecided);
    if (_mm256_movemask_ps(_mm256_cmp_ps(undecided, limit, _CMP_GT_OQ)) != 0) {
      if (patience-- == 0) break;
      BlendDoubles(run, k, k + 4, out);
      continue;
    }
    const __m256i words = _mm256_packs_epi32(a, b);
    const __m256i pixels = _mm256_shuffle_epi8(_mm256_packus_epi16(words, words), toPixels);
    Store12(_mm_or_si128(_mm256_castsi256_si128(pixels), _mm256_extracti128_si256(pixels, 1)), out + k * 3);
  }
  return k;
}

// Pixels begin to end, all with first + 3 <= extent: up to two bytes after the right neighbour are read.
size_t BlendBlocks(const BlendRun& run, size_t begin, size_t end, uint8_t* out) {
  return BlendDoubles(run, BlendFloats(run, begin, end, out), end, out) - begin;
}

// A vector's bytes taken from three others, -1: none.
__m128i Gather(__m128i a, __m128i fromA, __m128i b, __m128i fromB) {
  return _mm_or_si128(_mm_shuffle_epi8(a, fromA), _mm_shuffle_epi8(b, fromB));
}

size_t ReverseBlocks(const uint8_t* source, size_t count, uint8_t* out) {
  const __m128i cTo0 = _mm_setr_epi8(13, 14, 15, 10, 11, 12, 7, 8, 9, 4, 5, 6, 1, 2, 3, -1);
  const __m128i bTo0 = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 14);
  const __m128i cTo1 = _mm_setr_epi8(-1, 0, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
  const __m128i bTo1 = _mm_setr_epi8(15, -1, 11, 12, 13, 8, 9, 10, 5, 6, 7, 2, 3, 4, -1, 0);
  const __m128i aTo1 = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 15, -1);
  const __m128i bTo2 = _mm_setr_epi8(1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
  const __m128i aTo2 = _mm_setr_epi8(-1, 12, 13, 14, 9, 10, 11, 6, 7, 8, 3, 4, 5, 0, 1, 2);
  size_t k = 0;
  // Sixteen pixels are three vectors: a, b, c.
  for (; k + 16 <= count; k += 16) {
    const uint8_t* from = source + (count - k - 16) * 3;
    const __m128i a = Load16(from), b = Load16(from + 16), c = Load16(from + 32);
    auto* to = reinterpret_cast<__m128i*>(out + k * 3);
    _mm_storeu_si128(to, Gather(c, cTo0, b, bTo0));
    _mm_storeu_si128(to + 1, _mm_or_si128(Gather(c, cTo1, b, bTo1), _mm_shuffle_epi8(a, aTo1)));
    _mm_storeu_si128(to + 2, Gather(b, bTo2, a, aTo2));
  }
  return k;
}

// Eight pixels of four bytes, the last byte of each zero, from 24 bytes.
__m256i LoadEight(const uint8_t* p) {
  const __m256i toDwords = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1,  //
                                            4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1);
  return _mm256_shuffle_epi8(LoadLanes(p, p + 8), toDwords);
}

void Store16(__m128i value, uint8_t* out) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), value);
}

// Eight columns of four rows, to 12 bytes of eight output rows. `Store` may write four bytes more.
template <void (*Store)(__m128i, uint8_t*)>
void TurnBlock(const uint8_t* source, ptrdiff_t sourceStride, uint8_t* out, ptrdiff_t outStride) {
  const __m256i r0 = LoadEight(source);
  const __m256i r1 = LoadEight(source + sourceStride);
  const __m256i r2 = LoadEight(source + 2 * sourceStride);
  const __m256i r3 = LoadEight(source + 3 * sourceStride);
  const __m256i a = _mm256_unpacklo_epi32(r0, r1), b = _mm256_unpacklo_epi32(r2, r3);
  const __m256i c = _mm256_unpackhi_epi32(r0, r1), d = _mm256_unpackhi_epi32(r2, r3);
  const __m256i columns[4] = {_mm256_unpacklo_epi64(a, b), _mm256_unpackhi_epi64(a, b), _mm256_unpacklo_epi64(c, d),
                              _mm256_unpackhi_epi64(c, d)};
  const __m256i toPixels =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
  for (ptrdiff_t k = 0; k < 4; ++k) {
    const __m256i packed = _mm256_shuffle_epi8(columns[k], toPixels);
    Store(_mm256_castsi256_si128(packed), out + k * outStride);
    Store(_mm256_extracti128_si256(packed, 1), out + (k + 4) * outStride);
  }
}

Extent TurnBlocks(const uint8_t* source, ptrdiff_t sourceStride, size_t width, size_t height, uint8_t* out,
                  ptrdiff_t outStride) {
  const Extent done = {width / 8 * 8, height / 4 * 4};
  for (size_t x = 0; x < done.width; x += 8, source += 24, out += 8 * outStride) {
    const uint8_t* from = source;
    size_t y = 0;
    // What is written too much, the next four rows overwrite.
    for (; y + 8 <= done.height; y += 4, from += 4 * sourceStride) {
      TurnBlock<Store16>(from, sourceStride, out + y * 3, outStride);
    }
    if (y < done.height) TurnBlock<Store12>(from, sourceStride, out + y * 3, outStride);
  }
  return done;
}

size_t ChannelBlocks(const uint8_t* bgr, size_t count, uint64_t* sums) {
  alignas(32) uint8_t bytes[3][32];
  for (size_t c = 0; c < 3; ++c) {
    for (size_t k = 0; k < 32; ++k) bytes[c][k] = k % 3 == c ? 255 : 0;
  }
  __m256i every[3], total[3];
  for (size_t c = 0; c < 3; ++c) {
    every[c] = _mm256_load_si256(reinterpret_cast<const __m256i*>(bytes[c]));
    total[c] = _mm256_setzero_si256();
  }
  const __m256i zero = _mm256_setzero_si256();
  size_t k = 0;
  // 32 pixels are three vectors, of which the second begins with red and the third with green.
  for (; k + 32 <= count; k += 32) {
    for (size_t part = 0; part < 3; ++part) {
      const __m256i pixels = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bgr + k * 3 + part * 32));
      for (size_t c = 0; c < 3; ++c) {
        const __m256i channel = _mm256_and_si256(pixels, every[(c + part) % 3]);
        total[c] = _mm256_add_epi64(total[c], _mm256_sad_epu8(channel, zero));
      }
    }
  }
  for (size_t c = 0; c < 3; ++c) {
    alignas(32) uint64_t lanes[4];
    _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), total[c]);
    sums[c] += lanes[0] + lanes[1] + lanes[2] + lanes[3];
  }
  return k;
}

// In floats.
size_t DistanceBlocks(const uint8_t* bgr, size_t count, const double* colour, double* sum) {
  const __m256 blue = _mm256_set1_ps(static_cast<float>(colour[0]));
  const __m256 green = _mm256_set1_ps(static_cast<float>(colour[1]));
  const __m256 red = _mm256_set1_ps(static_cast<float>(colour[2]));
  const __m256i byte = _mm256_set1_epi32(255);
  __m256d low = _mm256_setzero_pd(), high = low;
  size_t k = 0;
  for (; k + 8 <= count; k += 8) {
    const __m256i pixels = LoadEight(bgr + k * 3);
    const __m256i g = _mm256_and_si256(_mm256_srli_epi32(pixels, 8), byte);
    const __m256 db = _mm256_sub_ps(_mm256_cvtepi32_ps(_mm256_and_si256(pixels, byte)), blue);
    const __m256 dg = _mm256_sub_ps(_mm256_cvtepi32_ps(g), green);
    const __m256 dr = _mm256_sub_ps(_mm256_cvtepi32_ps(_mm256_srli_epi32(pixels, 16)), red);
    const __m256 square =
        _mm256_add_ps(_mm256_add_ps(_mm256_mul_ps(db, db), _mm256_mul_ps(dg, dg)), _mm256_mul_ps(dr, dr));
    const __m256 distance = _mm256_sqrt_ps(square);
    low = _mm256_add_pd(low, _mm256_cvtps_pd(_mm256_castps256_ps128(distance)));
    high = _mm256_add_pd(high, _mm256_cvtps_pd(_mm256_extractf128_ps(distance, 1)));
  }
  alignas(32) double lanes[4];
  _mm256_store_pd(lanes, _mm256_add_pd(low, high));
  *sum += lanes[0] + lanes[1] + lanes[2] + lanes[3];
  return k;
}

}  // namespace
}  // namespace qx::avx2

#define QX_KERNELS_VARIANT avx2
#define QX_KERNELS_NAME "avx2"
#include "kernels/kernels_body.inc"
