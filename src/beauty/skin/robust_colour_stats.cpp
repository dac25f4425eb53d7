#include "beauty/skin/robust_colour_stats.h"

#include <algorithm>
#include <cmath>

namespace qx {
namespace {

constexpr double kLargestSpread[3] = {5.0, 2.0, 2.0};

// Mean and spread of the triples that `takes` accepts, and their number. Below two, the model stays.
template <typename Takes>
uint64_t Measure(const ImageView& patch, Takes takes, ColourModel* model) {
  const uint8_t* const end = patch.pixels + patch.Bytes();
  uint64_t count = 0, sums[3] = {};
  for (const uint8_t* v = patch.pixels; v != end; v += 3) {
    if (!takes(v)) continue;
    ++count;
    for (int c = 0; c < 3; ++c) sums[c] += v[c];
  }
  if (count < 2) return count;
  const auto n = static_cast<double>(count);
  double mean[3], squares[3] = {};
  for (int c = 0; c < 3; ++c) mean[c] = static_cast<double>(sums[c]) / n;
  for (const uint8_t* v = patch.pixels; v != end; v += 3) {
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

void RobustColourStats(const ImageView& patch, const uint8_t* key, double k, ColourModel* model) {
  const auto isSkin = [key](const uint8_t* v) { return v[0] != key[0] || v[1] != key[1] || v[2] != key[2]; };
  ColourModel first;
  if (Measure(patch, isSkin, &first) < 2) {
    for (int c = 0; c < 3; ++c) {
      model->mean[c] = key[c];
      model->spread[c] = 0;
    }
    return;
  }
  *model = first;
  if (!(k > 0)) return;
  const auto isTypical = [&](const uint8_t* v) {
    if (!isSkin(v)) return false;
    for (int c = 0; c < 3; ++c) {
      if (!(v[c] >= first.mean[c] - k * first.spread[c] && v[c] <= first.mean[c] + k * first.spread[c])) return false;
    }
    return true;
  };
  const bool enough = Measure(patch, isTypical, model) >= 2;
  for (int c = 0; c < 3; ++c) model->spread[c] = enough ? std::min(model->spread[c], kLargestSpread[c]) : 0;
}

}  // namespace qx
