#include "engine/image.h"

#include <algorithm>
#include <cmath>

#include "base/exact_math.h"

namespace qx::face {
namespace {

// The source cells [first, first + count) that one new cell covers, and how much of the two outer ones.
struct Span {
  int first;
  int count;
  float firstWeight;
  float lastWeight;
};

Span SpanOf(int index, int from, int to) {
  const double scale = static_cast<double>(from) / to;
  const double low = index * scale;
  const double high = index + 1 == to ? from : (index + 1) * scale;
  const int first = std::min(static_cast<int>(low), from - 1);
  const int last = std::max(first, std::min(static_cast<int>(std::ceil(high)) - 1, from - 1));
  if (first == last) return {first, 1, static_cast<float>(high - low), 0};
  return {first, last - first + 1, static_cast<float>(first + 1 - low), static_cast<float>(high - last)};
}

void AddRow(const uint8_t* row, int width, float weight, float* sums) {
  for (int x = 0; x < width; ++x) sums[x] += weight * static_cast<float>(row[x]);
}

void SumColumns(const std::vector<float>& sums, const std::vector<Span>& spans, float scale, float* out) {
  for (size_t x = 0; x < spans.size(); ++x) {
    const Span& span = spans[x];
    const float* cell = sums.data() + span.first;
    float sum = cell[0] * span.firstWeight;
    for (int i = 1; i + 1 < span.count; ++i) sum += cell[i];
    if (span.count > 1) sum += cell[span.count - 1] * span.lastWeight;
    out[x] = sum * scale;
  }
}

// Position between two cells along one axis: the lower one and the share of the upper one.
struct Tap {
  int low;
  int high;
  float share;
};

Tap TapAt(double position, int extent) {
  const double clamped = std::max(0.0, std::min(position, static_cast<double>(extent - 1)));
  const int low = static_cast<int>(clamped);
  return {low, std::min(low + 1, extent - 1), static_cast<float>(clamped - low)};
}

float Bilinear(const GreyImage& image, const Tap& x, const Tap& y) {
  const float top = image.At(x.low, y.low) + x.share * (image.At(x.high, y.low) - image.At(x.low, y.low));
  const float bottom = image.At(x.low, y.high) + x.share * (image.At(x.high, y.high) - image.At(x.low, y.high));
  return top + y.share * (bottom - top);
}

GreyImage Enlarge(const GreyView& image, int width, int height) {
  const GreyImage source = ShrinkArea(image, {0, 0, image.width, image.height}, image.width, image.height);
  GreyImage out{width, height, std::vector<float>(static_cast<size_t>(width) * static_cast<size_t>(height))};
  float* cell = out.values.data();
  for (int y = 0; y < height; ++y) {
    const Tap tapY = TapAt((y + 0.5) * image.height / height - 0.5, image.height);
    for (int x = 0; x < width; ++x) {
      *cell++ = Bilinear(source, TapAt((x + 0.5) * image.width / width - 0.5, image.width), tapY);
    }
  }
  return out;
}

// The pixels of one axis that a region reaching from low to high needs, at least one.
void ClipAxis(double low, double high, int extent, int* first, int* count) {
  *first = FloorTo(low - 1, 0, extent - 1);
  *count = std::max(1, FloorTo(high + 2, 0, extent) - *first);
}

PixelRect RectAround(const Region& region, const GreyView& image) {
  const double reach = region.side / 2 * (std::abs(exact::Cos(region.angle)) + std::abs(exact::Sin(region.angle)));
  PixelRect rect;
  ClipAxis(region.centre.x - reach, region.centre.x + reach, image.width, &rect.left, &rect.width);
  ClipAxis(region.centre.y - reach, region.centre.y + reach, image.height, &rect.top, &rect.height);
  return rect;
}

int Reduced(int extent, double ratio) {
  return ratio > 1 ? std::max(1, static_cast<int>(std::lround(extent / ratio))) : extent;
}

}  // namespace

GreyImage ShrinkArea(const GreyView& image, const PixelRect& rect, int width, int height) {
  GreyImage out{width, height, std::vector<float>(static_cast<size_t>(width) * static_cast<size_t>(height))};
  std::vector<Span> columns;
  columns.reserve(static_cast<size_t>(width));
  for (int x = 0; x < width; ++x) columns.push_back(SpanOf(x, rect.width, width));
  std::vector<float> sums(static_cast<size_t>(rect.width));
  const float scale = static_cast<float>(static_cast<double>(width) / rect.width * height / rect.height);
  for (int y = 0; y < height; ++y) {
    const Span rows = SpanOf(y, rect.height, height);
    std::fill(sums.begin(), sums.end(), 0.0F);
    for (int i = 0; i < rows.count; ++i) {
      const size_t row = static_cast<size_t>(rect.top + rows.first + i);
      const uint8_t* pixels = image.pixels + row * static_cast<size_t>(image.width) + rect.left;
      const float weight = i == 0 ? rows.firstWeight : i + 1 == rows.count ? rows.lastWeight : 1.0F;
      AddRow(pixels, rect.width, weight, sums.data());
    }
    SumColumns(sums, columns, scale, out.values.data() + static_cast<size_t>(y) * static_cast<size_t>(width));
  }
  return out;
}

GreyImage ScaleToLongSide(const GreyView& image, int longSide) {
  const int longest = std::max(image.width, image.height);
  const auto scaled = [&](int extent) {
    return std::max(1, static_cast<int>(std::lround(static_cast<double>(extent) * longSide / longest)));
  };
  const int width = scaled(image.width), height = scaled(image.height);
  if (longest < longSide) return Enlarge(image, width, height);
  return ShrinkArea(image, {0, 0, image.width, image.height}, width, height);
}

void SampleRegion(const GreyView& image, const Region& region, int size, float* values) {
  const double ratio = region.side / size;
  const PixelRect rect = RectAround(region, image);
  const GreyImage source = ShrinkArea(image, rect, Reduced(rect.width, ratio), Reduced(rect.height, ratio));
  const double scaleX = static_cast<double>(source.width) / rect.width;
  const double scaleY = static_cast<double>(source.height) / rect.height;
  const double c = exact::Cos(region.angle) * ratio, s = exact::Sin(region.angle) * ratio;
  for (int v = 0; v < size; ++v) {
    for (int u = 0; u < size; ++u) {
      const double dx = u + 0.5 - 0.5 * size, dy = v + 0.5 - 0.5 * size;
      const double x = region.centre.x + dx * c - dy * s - rect.left;
      const double y = region.centre.y + dx * s + dy * c - rect.top;
      *values++ = Bilinear(source, TapAt(x * scaleX - 0.5, source.width), TapAt(y * scaleY - 0.5, source.height));
    }
  }
}

}  // namespace qx::face
