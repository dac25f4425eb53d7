#include "photo/person/hair_network.h"

#include <algorithm>
#include <cmath>

#include "photo/person/hair_evidence.h"

namespace qx::photo {
namespace {

#include "photo/person/hair_weights.inc"

constexpr size_t kAtOnce = 32;  // pixels, so that a layer's values stay near the processor

// One layer: `to` takes kOut values of each pixel, negative ones made 0 where `kRectify`.
template <size_t kIn, size_t kOut, bool kRectify>
void Layer(const float (&weights)[kOut][kIn], const float (&offsets)[kOut], const float* from, size_t stride,
           float (&to)[kOut][kAtOnce]) {
  for (size_t o = 0; o < kOut; ++o) {
    float sum[kAtOnce];
    std::fill_n(sum, kAtOnce, offsets[o]);
    for (size_t i = 0; i < kIn; ++i) {
      const float weight = weights[o][i];
      const float* value = from + i * stride;
      for (size_t j = 0; j < kAtOnce; ++j) sum[j] += weight * value[j];
    }
    for (size_t j = 0; j < kAtOnce; ++j) to[o][j] = kRectify ? std::max(sum[j], 0.0f) : sum[j];
  }
}

}  // namespace

void WeighEvidence(const float* values, size_t stride, size_t count, float* alpha) {
  float block[HairEvidence::kValues][kAtOnce], first[kFirst][kAtOnce], second[kSecond][kAtOnce], last[1][kAtOnce];
  for (size_t start = 0; start < count; start += kAtOnce) {
    const size_t size = std::min(kAtOnce, count - start);
    for (size_t k = 0; k < HairEvidence::kValues; ++k) {
      std::fill(std::copy_n(values + k * stride + start, size, block[k]), block[k] + kAtOnce, 0.0f);
    }
    Layer<HairEvidence::kValues, kFirst, true>(kFirstWeights, kFirstOffsets, block[0], kAtOnce, first);
    Layer<kFirst, kSecond, true>(kSecondWeights, kSecondOffsets, first[0], kAtOnce, second);
    Layer<kSecond, 1, false>(kLastWeights, kLastOffsets, second[0], kAtOnce, last);
    for (size_t j = 0; j < size; ++j) alpha[start + j] = std::clamp(0.5f + last[0][j], 0.0f, 1.0f);
  }
}

}  // namespace qx::photo
