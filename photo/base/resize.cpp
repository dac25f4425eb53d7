#include "photo/base/resize.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace qx::photo {
namespace {

constexpr double kLobes = 3;
constexpr double kPi = 3.14159265358979323846;

double Lanczos(double x) {
  if (x == 0) return 1;
  if (std::abs(x) >= kLobes) return 0;
  return kLobes * std::sin(kPi * x) * std::sin(kPi * x / kLobes) / (kPi * kPi * x * x);
}

// What each target sample takes from the source samples first, first + 1, ...
struct Taps {
  std::vector<int32_t> first;
  std::vector<float> weights;  // `count` for each target sample, of sum 1
  int32_t count = 0;
};

Taps MakeTaps(double start, double length, int32_t samples) {
  const double scale = length / samples, stretch = std::max(scale, 1.0);
  Taps taps;
  taps.count = 2 * static_cast<int32_t>(std::ceil(kLobes * stretch)) + 1;
  std::vector<double> row(static_cast<size_t>(taps.count));
  for (int32_t i = 0; i < samples; ++i) {
    const double centre = start + (i + 0.5) * scale - 0.5;  // where a sample's middle is a whole number
    const auto first = static_cast<int32_t>(std::floor(centre)) - taps.count / 2;
    double sum = 0;
    for (int32_t k = 0; k < taps.count; ++k) {
      sum += row[static_cast<size_t>(k)] = Lanczos((first + k - centre) / stretch);
    }
    taps.first.push_back(first);
    for (const double weight : row) taps.weights.push_back(static_cast<float>(weight / sum));
  }
  return taps;
}

// One row of the picture, brought to the target's width.
void ResizeRow(const uint8_t* row, int32_t width, const Taps& taps, float* out) {
  const float* weight = taps.weights.data();
  for (const int32_t first : taps.first) {
    float sum[3] = {0, 0, 0};
    for (int32_t k = 0; k < taps.count; ++k, ++weight) {
      const uint8_t* pixel = row + 3 * std::clamp(first + k, 0, width - 1);
      for (int c = 0; c < 3; ++c) sum[c] += *weight * static_cast<float>(pixel[c]);
    }
    out = std::copy_n(sum, 3, out);
  }
}

}  // namespace

int32_t LanczosReach(double scale) {
  return static_cast<int32_t>(std::ceil(kLobes * std::max(scale, 1.0))) + 1;
}

Image ResizeLanczos(const Image& picture, const Rectangle& part, int32_t width, int32_t height) {
  const Taps columns = MakeTaps(part.left, part.width, width), rows = MakeTaps(part.top, part.height, height);
  const auto samples = static_cast<size_t>(width) * 3;
  // The rows that the current target row needs, in a ring by their number.
  const auto ring = static_cast<size_t>(rows.count);
  std::vector<float> resized(ring * samples), sum(samples);
  int32_t next = rows.first[0];  // the first row that is not yet in the ring
  auto slot = [&](int32_t row) {
    const auto count = static_cast<int64_t>(ring);
    return resized.data() + static_cast<size_t>((row % count + count) % count) * samples;
  };
  Image target(width, height);
  uint8_t* out = target.bgr.data();
  for (int32_t y = 0; y < height; ++y) {
    const int32_t first = rows.first[static_cast<size_t>(y)];
    for (next = std::max(next, first); next < first + rows.count; ++next) {
      const int32_t from = std::clamp(next, 0, picture.height - 1);
      ResizeRow(picture.bgr.data() + static_cast<size_t>(from) * static_cast<size_t>(picture.width) * 3, picture.width,
                columns, slot(next));
    }
    std::fill(sum.begin(), sum.end(), 0.0f);
    for (int32_t k = 0; k < rows.count; ++k) {
      const float weight = rows.weights[static_cast<size_t>(y) * ring + static_cast<size_t>(k)];
      const float* row = slot(first + k);
      for (size_t i = 0; i < samples; ++i) sum[i] += weight * row[i];
    }
    for (const float value : sum) {
      *out++ = static_cast<uint8_t>(std::clamp(std::lround(value), 0L, 255L));
    }
  }
  return target;
}

}  // namespace qx::photo
