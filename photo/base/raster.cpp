#include "photo/base/raster.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace qx::photo {
namespace {

constexpr int kTapsAtOnce = 4;  // so that the processor's registers are full

// Which source samples make each target sample, and how much of each: `count` from first[i] on, of sum 1. Weights lie
// `stride` apart, a multiple of kTapsAtOnce; those behind the count are 0.
struct Taps {
  std::vector<int> first;
  std::vector<float> weights;
  int count = 0, stride = 0;
};

Taps TriangleTaps(int sourceSize, double start, double extent, int targetSize) {
  const double step = extent / targetSize, support = std::max(1.0, step);
  Taps taps;
  taps.count = std::min(sourceSize, static_cast<int>(std::ceil(2 * support)));
  taps.stride = (taps.count + kTapsAtOnce - 1) / kTapsAtOnce * kTapsAtOnce;
  taps.weights.resize(static_cast<size_t>(taps.stride) * static_cast<size_t>(targetSize));
  float* weights = taps.weights.data();
  for (int i = 0; i < targetSize; ++i, weights += taps.stride) {
    // A centre outside takes the nearest sample.
    const double centre = std::clamp(start + (i + 0.5) * step, 0.5, sourceSize - 0.5);
    const int first = std::clamp(static_cast<int>(std::ceil(centre - support - 0.5)), 0, sourceSize - taps.count);
    auto weight = [&](int j) { return std::max(0.0, 1 - std::abs(first + j + 0.5 - centre) / support); };
    double sum = 0;
    for (int j = 0; j < taps.count; ++j) sum += weight(j);
    for (int j = 0; j < taps.count; ++j) weights[j] = static_cast<float>(weight(j) / sum);
    taps.first.push_back(first);
  }
  return taps;
}

// One row between the source's rows.
template <typename Sample>
void BlendRows(const Sample* source, size_t stride, const float* weights, int count, size_t samples, float* line) {
  std::fill_n(line, samples, 0.0f);
  int j = 0;
  for (; j + kTapsAtOnce <= count; j += kTapsAtOnce) {
    const Sample *a = source + static_cast<size_t>(j) * stride, *b = a + stride, *c = b + stride, *d = c + stride;
    const float wa = weights[j], wb = weights[j + 1], wc = weights[j + 2], wd = weights[j + 3];
    for (size_t i = 0; i < samples; ++i) {
      line[i] += wa * static_cast<float>(a[i]) + wb * static_cast<float>(b[i]) + wc * static_cast<float>(c[i]) +
                 wd * static_cast<float>(d[i]);
    }
  }
  for (; j < count; ++j) {
    const Sample* from = source + static_cast<size_t>(j) * stride;
    const float weight = weights[j];
    for (size_t i = 0; i < samples; ++i) line[i] += weight * static_cast<float>(from[i]);
  }
}

// What is read behind the line's last sample, with a weight of 0 or into a channel that does not count.
template <int kChannels>
constexpr size_t kPad = size_t{kTapsAtOnce} * kChannels + 1;

template <int kChannels>
void BlendTwoColumns(const float* line, const Taps& taps, float* to) {
  const float* weight = taps.weights.data();
  for (const int column : taps.first) {
    const float* from = line + static_cast<ptrdiff_t>(column - taps.first[0]) * kChannels;
    for (int c = 0; c < kChannels; ++c) *to++ = weight[0] * from[c] + weight[1] * from[kChannels + c];
    weight += taps.stride;
  }
}

template <int kChannels>
void BlendColumns(const float* line, const Taps& taps, float* to) {
  constexpr int kLanes = kChannels == 3 ? 4 : kChannels;  // the processor takes four at once
  const float* weight = taps.weights.data();
  for (const int column : taps.first) {
    const float* from = line + static_cast<ptrdiff_t>(column - taps.first[0]) * kChannels;
    float sum[kLanes] = {};
    for (int j = 0; j < taps.stride; j += kTapsAtOnce, weight += kTapsAtOnce, from += kTapsAtOnce * kChannels) {
      for (int c = 0; c < kLanes; ++c) {
        sum[c] += (weight[0] * from[c] + weight[1] * from[kChannels + c]) +
                  (weight[2] * from[2 * kChannels + c] + weight[3] * from[3 * kChannels + c]);
      }
    }
    to = std::copy_n(sum, kChannels, to);
  }
}

template <int kChannels>
void BlendAllColumns(const float* line, const Taps& taps, float* to) {
  if (taps.count <= 2) {
    BlendTwoColumns<kChannels>(line, taps, to);
  } else {
    BlendColumns<kChannels>(line, taps, to);
  }
}

// Calls `emit` with each target row, in the source's units.
template <int kChannels, typename Sample, typename Emit>
void ResampleRows(const Sample* source, int sourceWidth, int sourceHeight, const Rectangle& window, int width,
                  int height, Emit emit) {
  const Taps columns = TriangleTaps(sourceWidth, window.left, window.width, width);
  const Taps rows = TriangleTaps(sourceHeight, window.top, window.height, height);
  const size_t stride = static_cast<size_t>(sourceWidth) * kChannels, wide = static_cast<size_t>(width) * kChannels;
  const auto samples = static_cast<size_t>(columns.first.back() + columns.count - columns.first[0]) * kChannels;
  source += static_cast<size_t>(rows.first[0]) * stride + static_cast<size_t>(columns.first[0]) * kChannels;
  const int sourceRows = rows.first.back() + rows.count - rows.first[0];
  Floats line(samples + kPad<kChannels>), row(wide), across;
  std::fill(line.begin() + static_cast<ptrdiff_t>(samples), line.end(), 0.0f);
  // First along the direction in which less is left to do for the other, which goes by whole rows.
  const bool columnsFirst = sourceRows < height;
  for (int y = 0; columnsFirst && y < sourceRows; ++y) {
    if (y == 0) across.resize(static_cast<size_t>(sourceRows) * wide);
    std::copy_n(source + static_cast<size_t>(y) * stride, samples, line.begin());
    BlendAllColumns<kChannels>(line.data(), columns, across.data() + static_cast<size_t>(y) * wide);
  }
  for (int y = 0; y < height; ++y) {
    const auto first = static_cast<size_t>(rows.first[static_cast<size_t>(y)] - rows.first[0]);
    const float* weights = rows.weights.data() + static_cast<size_t>(y) * static_cast<size_t>(rows.stride);
    if (columnsFirst) {
      BlendRows(across.data() + first * wide, wide, weights, rows.count, wide, row.data());
    } else {
      BlendRows(source + first * stride, stride, weights, rows.count, samples, line.data());
      BlendAllColumns<kChannels>(line.data(), columns, row.data());
    }
    emit(y, row);
  }
}

Rectangle AsRectangle(const PixelBox& box) {
  return {static_cast<double>(box.left), static_cast<double>(box.top), static_cast<double>(box.Width()),
          static_cast<double>(box.Height())};
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

Image ResamplePart(const Image& source, const PixelBox& part, int width, int height) {
  Image target(width, height);
  ResampleRows<3>(source.bgr.data(), source.width, source.height, AsRectangle(part), width, height,
                  [&](int y, const Floats& row) { Round(row, target.At(0, y)); });
  return target;
}

Mask ResamplePart(const Mask& source, const PixelBox& part, int width, int height) {
  Mask target(width, height);
  ResampleRows<1>(source.values.data(), source.width, source.height, AsRectangle(part), width, height,
                  [&](int y, const Floats& row) { Round(row, target.Row(y)); });
  return target;
}

Image ResampleWhole(const Image& source, int width, int height) {
  if (width == source.width && height == source.height) return source;
  return ResamplePart(source, {0, 0, source.width, source.height}, width, height);
}

Mask ResampleWhole(const Mask& source, int width, int height) {
  if (width == source.width && height == source.height) return source;
  return ResamplePart(source, {0, 0, source.width, source.height}, width, height);
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
