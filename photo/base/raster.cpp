#include "photo/base/raster.h"

#include <algorithm>
#include <cmath>

namespace qx::photo {
namespace {

// Which source samples make one target sample, and how much of each.
struct Taps {
  size_t first = 0;
  std::vector<float> weights;  // sum 1
};

std::vector<Taps> TriangleTaps(int sourceSize, double start, double extent, int targetSize) {
  const double step = extent / targetSize, support = std::max(1.0, step);
  std::vector<Taps> all(static_cast<size_t>(targetSize));
  for (int i = 0; i < targetSize; ++i) {
    // A centre outside takes the nearest sample.
    const double centre = std::clamp(start + (i + 0.5) * step, 0.5, sourceSize - 0.5);
    const int first = std::max(0, static_cast<int>(std::floor(centre - support)));
    const int last = std::min(sourceSize - 1, static_cast<int>(std::ceil(centre + support)));
    Taps& taps = all[static_cast<size_t>(i)];
    taps.first = static_cast<size_t>(first);
    double sum = 0;
    for (int j = first; j <= last; ++j) sum += std::max(0.0, 1 - std::abs(j + 0.5 - centre) / support);
    for (int j = first; j <= last; ++j) {
      taps.weights.push_back(static_cast<float>(std::max(0.0, 1 - std::abs(j + 0.5 - centre) / support) / sum));
    }
  }
  return all;
}

template <typename Sample>
Raster ResampleSamples(const Sample* source, int sourceWidth, int sourceHeight, int channels, float unit,
                       const Window& window, int width, int height) {
  const std::vector<Taps> columns = TriangleTaps(sourceWidth, window.left, window.width, width);
  const std::vector<Taps> rows = TriangleTaps(sourceHeight, window.top, window.height, height);
  const auto step = static_cast<size_t>(channels);
  const size_t stride = static_cast<size_t>(sourceWidth) * step;
  const size_t begin = columns.front().first * step;
  const size_t end = (columns.back().first + columns.back().weights.size()) * step;
  Raster target(width, height, channels);
  std::vector<float> line(stride);
  for (int y = 0; y < height; ++y) {
    const Taps& taps = rows[static_cast<size_t>(y)];
    std::fill(line.begin(), line.end(), 0.0f);
    for (size_t j = 0; j < taps.weights.size(); ++j) {
      const float weight = taps.weights[j] * unit;
      const Sample* from = source + (taps.first + j) * stride;
      for (size_t i = begin; i < end; ++i) line[i] += weight * static_cast<float>(from[i]);
    }
    float* to = target.At(0, y);
    for (const Taps& column : columns) {
      for (size_t c = 0; c < step; ++c) {
        const float* from = line.data() + column.first * step + c;
        float sum = 0;
        for (size_t j = 0; j < column.weights.size(); ++j) sum += column.weights[j] * from[j * step];
        *to++ = sum;
      }
    }
  }
  return target;
}

}  // namespace

Raster Resample(const Raster& source, const Window& window, int width, int height) {
  return ResampleSamples(source.values.data(), source.width, source.height, source.channels, 1.0f, window, width,
                         height);
}

Raster Resample(const Image& source, const Window& window, int width, int height) {
  return ResampleSamples(source.bgr.data(), source.width, source.height, 3, 1.0f / 255, window, width, height);
}

Raster Resample(const Mask& source, int width, int height) {
  const Window whole{0, 0, static_cast<double>(source.width), static_cast<double>(source.height)};
  return ResampleSamples(source.values.data(), source.width, source.height, 1, 1.0f / 255, whole, width, height);
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

Raster BoxMean(const Raster& source, int radius) {
  const int width = source.width, height = source.height;
  const auto step = static_cast<size_t>(source.channels);
  const size_t stride = static_cast<size_t>(width) * step;
  Raster target(width, height, source.channels);
  // Running sums, in double so that what leaves the window leaves it without a trace that matters.
  std::vector<double> columns(stride), sum(step);
  auto add = [&](int y, double sign) {
    const float* row = source.At(0, y);
    for (size_t i = 0; i < stride; ++i) columns[i] += sign * static_cast<double>(row[i]);
  };
  for (int y = 0; y < std::min(radius, height); ++y) add(y, 1);
  for (int y = 0; y < height; ++y) {
    if (y + radius < height) add(y + radius, 1);
    if (y - radius - 1 >= 0) add(y - radius - 1, -1);
    const int rows = std::min(y + radius, height - 1) - std::max(y - radius, 0) + 1;
    std::fill(sum.begin(), sum.end(), 0.0);
    auto column = [&](int x, size_t c) { return columns[static_cast<size_t>(x) * step + c]; };
    for (size_t c = 0; c < step; ++c) {
      for (int x = 0; x < std::min(radius, width); ++x) sum[c] += column(x, c);
    }
    float* to = target.At(0, y);
    for (int x = 0; x < width; ++x) {
      const int count = (std::min(x + radius, width - 1) - std::max(x - radius, 0) + 1) * rows;
      const double part = 1.0 / count;
      for (size_t c = 0; c < step; ++c) {
        if (x + radius < width) sum[c] += column(x + radius, c);
        if (x - radius - 1 >= 0) sum[c] -= column(x - radius - 1, c);
        *to++ = static_cast<float>(sum[c] * part);
      }
    }
  }
  return target;
}

}  // namespace qx::photo
