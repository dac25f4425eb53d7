#include "photo/base/raster.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace qx::photo {
namespace {

// Which source samples make each target sample, and how much of each: `count` from first[i] on, of sum 1.
struct Taps {
  std::vector<int> first;
  std::vector<float> weights;
  int count = 0;
};

Taps TriangleTaps(int sourceSize, double start, double extent, int targetSize) {
  const double step = extent / targetSize, support = std::max(1.0, step);
  Taps taps;
  taps.count = std::min(sourceSize, static_cast<int>(std::ceil(2 * support)));
  for (int i = 0; i < targetSize; ++i) {
    // A centre outside takes the nearest sample.
    const double centre = std::clamp(start + (i + 0.5) * step, 0.5, sourceSize - 0.5);
    const int first = std::clamp(static_cast<int>(std::ceil(centre - support - 0.5)), 0, sourceSize - taps.count);
    auto weight = [&](int j) { return std::max(0.0, 1 - std::abs(first + j + 0.5 - centre) / support); };
    double sum = 0;
    for (int j = 0; j < taps.count; ++j) sum += weight(j);
    taps.first.push_back(first);
    for (int j = 0; j < taps.count; ++j) taps.weights.push_back(static_cast<float>(weight(j) / sum));
  }
  return taps;
}

// One row between the source's rows.
template <typename Sample>
void BlendRows(const Sample* source, size_t stride, const float* weights, int count, size_t samples, float* line) {
  for (size_t i = 0; i < samples; ++i) line[i] = weights[0] * static_cast<float>(source[i]);
  for (int j = 1; j < count; ++j) {
    const Sample* from = source + static_cast<size_t>(j) * stride;
    const float weight = weights[j];
    if (weight == 0) continue;
    for (size_t i = 0; i < samples; ++i) line[i] += weight * static_cast<float>(from[i]);
  }
}

// `kCount`: of the taps, or 0 for any.
template <int kChannels, int kCount>
void BlendColumns(const float* line, const Taps& taps, int begin, float* to) {
  const float* weight = taps.weights.data();
  const int count = kCount > 0 ? kCount : taps.count;
  for (const int first : taps.first) {
    const float* from = line + static_cast<ptrdiff_t>(first - begin) * kChannels;
    float sum[kChannels] = {};
    for (int j = 0; j < count; ++j, from += kChannels) {
      for (int c = 0; c < kChannels; ++c) sum[c] += weight[j] * from[c];
    }
    weight += count;
    to = std::copy_n(sum, kChannels, to);
  }
}

// Calls `emit` with each target row, in the source's units.
template <int kChannels, typename Sample, typename Emit>
void ResampleRows(const Sample* source, int sourceWidth, int sourceHeight, const Rectangle& window, int width,
                  int height, Emit emit) {
  const Taps columns = TriangleTaps(sourceWidth, window.left, window.width, width);
  const Taps rows = TriangleTaps(sourceHeight, window.top, window.height, height);
  const size_t stride = static_cast<size_t>(sourceWidth) * kChannels;
  const int begin = columns.first.front();  // of the columns that take part
  const auto samples = static_cast<size_t>(columns.first.back() + columns.count - begin) * kChannels;
  Floats line(samples), row(static_cast<size_t>(width) * kChannels);
  for (int y = 0; y < height; ++y) {
    const auto at = static_cast<size_t>(y);
    BlendRows(source + static_cast<size_t>(rows.first[at]) * stride + static_cast<size_t>(begin) * kChannels, stride,
              rows.weights.data() + at * static_cast<size_t>(rows.count), rows.count, samples, line.data());
    if (columns.count == 2) {
      BlendColumns<kChannels, 2>(line.data(), columns, begin, row.data());
    } else {
      BlendColumns<kChannels, 0>(line.data(), columns, begin, row.data());
    }
    emit(y, row);
  }
}

void Round(const Floats& row, uint8_t* to) {
  for (const float value : row) *to++ = static_cast<uint8_t>(static_cast<int>(value + 0.5f));
}

}  // namespace

Raster Resample(const Raster& source, const Rectangle& window, int width, int height) {
  Raster target(width, height, source.channels);
  auto emit = [&](int y, const Floats& row) { std::copy(row.begin(), row.end(), target.At(0, y)); };
  ResampleRows<1>(source.values.data(), source.width, source.height, window, width, height, emit);
  return target;
}

Raster Resample(const Image& source, const Rectangle& window, int width, int height) {
  Raster target(width, height, 3);
  ResampleRows<3>(source.bgr.data(), source.width, source.height, window, width, height, [&](int y, const Floats& row) {
    float* to = target.At(0, y);
    for (const float value : row) *to++ = value / 255;
  });
  return target;
}

Image ResampleWhole(const Image& source, int width, int height) {
  if (width == source.width && height == source.height) return source;
  Image target(width, height);
  ResampleRows<3>(source.bgr.data(), source.width, source.height,
                  {0, 0, double{1} * source.width, double{1} * source.height}, width, height,
                  [&](int y, const Floats& row) { Round(row, target.At(0, y)); });
  return target;
}

Mask ResampleWhole(const Mask& source, int width, int height) {
  if (width == source.width && height == source.height) return source;
  Mask target(width, height);
  ResampleRows<1>(source.values.data(), source.width, source.height,
                  {0, 0, double{1} * source.width, double{1} * source.height}, width, height,
                  [&](int y, const Floats& row) { Round(row, target.Row(y)); });
  return target;
}

void Sample(const Raster& source, double x, double y, float* channels) {
  const double fromLeft = std::clamp(x - 0.5, 0.0, source.width - 1.0);
  const double fromTop = std::clamp(y - 0.5, 0.0, source.height - 1.0);
  const int left = static_cast<int>(fromLeft), top = static_cast<int>(fromTop);
  const int right = std::min(left + 1, source.width - 1), bottom = std::min(top + 1, source.height - 1);
  const auto fx = static_cast<float>(fromLeft - left), fy = static_cast<float>(fromTop - top);
  const float *a = source.At(left, top), *b = source.At(right, top);
  const float *c = source.At(left, bottom), *d = source.At(right, bottom);
  for (int i = 0; i < source.channels; ++i) {
    const float upper = a[i] + fx * (b[i] - a[i]), lower = c[i] + fx * (d[i] - c[i]);
    channels[i] = upper + fy * (lower - upper);
  }
}

}  // namespace qx::photo
