#include "beauty/robust_colour_stats.h"

#include <algorithm>
#include <cmath>

#include "base/buffer.h"

namespace qx {
namespace {

constexpr double kLargestSpread[3] = {5.0, 2.0, 2.0};

struct Patch {
  const uint8_t* triples;
  uint64_t count;
};

// Mean and spread of the triples that `takes` accepts, and their number. Below two, the model stays.
template <typename Takes>
uint64_t Measure(const Patch& patch, Takes takes, ColourModel* model) {
  const uint8_t* const end = patch.triples + patch.count * 3;
  uint64_t count = 0, sums[3] = {};
  for (const uint8_t* v = patch.triples; v != end; v += 3) {
    if (!takes(v)) continue;
    ++count;
    for (int c = 0; c < 3; ++c) sums[c] += v[c];
  }
  if (count < 2) return count;
  const auto n = static_cast<double>(count);
  double mean[3], squares[3] = {};
  for (int c = 0; c < 3; ++c) mean[c] = static_cast<double>(sums[c]) / n;
  for (const uint8_t* v = patch.triples; v != end; v += 3) {
    if (!takes(v)) continue;
    for (int c = 0; c < 3; ++c) squares[c] += (v[c] - mean[c]) * (v[c] - mean[c]);
  }
  for (int c = 0; c < 3; ++c) {
    model->mean[c] = mean[c];
    model->spread[c] = std::sqrt(squares[c] / (n - 1));
  }
  return count;
}

}  // namespace

int RobustColourStats(const uint8_t* patch, int32_t width, int32_t height, const uint8_t* key, double k,
                      ColourModel* model) {
  const Patch all = {patch, ImageBytes(width, height, 1)};
  const auto isSkin = [key](const uint8_t* v) { return v[0] != key[0] || v[1] != key[1] || v[2] != key[2]; };
  ColourModel first;
  if (Measure(all, isSkin, &first) < 2) {
    for (int c = 0; c < 3; ++c) {
      model->mean[c] = key[c];
      model->spread[c] = 0;
    }
    return 0;
  }
  *model = first;
  if (!(k > 0)) return 0;
  const auto isTypical = [&](const uint8_t* v) {
    if (!isSkin(v)) return false;
    for (int c = 0; c < 3; ++c) {
      if (!(v[c] >= first.mean[c] - k * first.spread[c] && v[c] <= first.mean[c] + k * first.spread[c])) return false;
    }
    return true;
  };
  const bool enough = Measure(all, isTypical, model) >= 2;
  for (int c = 0; c < 3; ++c) model->spread[c] = enough ? std::min(model->spread[c], kLargestSpread[c]) : 0;
  return 0;
}

}  // namespace qx
