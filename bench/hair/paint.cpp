#include "bench/hair/paint.h"

#include <cmath>

namespace qx::bench::hair {
namespace {

float Hash(int32_t x, int32_t y, uint32_t seed) {
  uint32_t h = static_cast<uint32_t>(x) * 0x85EBCA6BU ^ static_cast<uint32_t>(y) * 0xC2B2AE35U ^ seed * 0x27D4EB2FU;
  h = (h ^ (h >> 15)) * 0x2C1B3C6DU;
  h = (h ^ (h >> 12)) * 0x297A2D39U;
  h ^= h >> 15;
  return static_cast<float>(h >> 8) * (2.0f / 16777216) - 1;
}

Place Spline(Place a, Place b, Place c, Place d, float t) {
  auto at = [t](float p, float q, float r, float s) {
    return q + 0.5f * t * (r - p + t * (2 * p - 5 * q + 4 * r - s + t * (3 * (q - r) + s - p)));
  };
  return {at(a.x, b.x, c.x, d.x), at(a.y, b.y, c.y, d.y)};
}

constexpr int kSteps = 10;  // of a spline between two points

// Running mean along one line of `count` pixels that lie `stride` apart, the border going on.
void BoxLine(float* line, size_t stride, int count, int radius, std::vector<float>& copy) {
  copy.resize(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) copy[static_cast<size_t>(i)] = line[static_cast<size_t>(i) * stride];
  auto at = [&](int i) { return static_cast<double>(copy[static_cast<size_t>(std::clamp(i, 0, count - 1))]); };
  double sum = 0;
  for (int i = -radius; i <= radius; ++i) sum += at(i);
  for (int i = 0; i < count; ++i) {
    line[static_cast<size_t>(i) * stride] = static_cast<float>(sum / (2 * radius + 1));
    sum += at(i + radius + 1) - at(i - radius);
  }
}

void KernelLine(float* line, size_t stride, int count, const std::vector<float>& kernel, std::vector<float>& copy) {
  copy.resize(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) copy[static_cast<size_t>(i)] = line[static_cast<size_t>(i) * stride];
  const int radius = static_cast<int>(kernel.size()) / 2;
  for (int i = 0; i < count; ++i) {
    float sum = 0;
    for (int k = -radius; k <= radius; ++k) {
      sum += kernel[static_cast<size_t>(k + radius)] * copy[static_cast<size_t>(std::clamp(i + k, 0, count - 1))];
    }
    line[static_cast<size_t>(i) * stride] = sum;
  }
}

// Calls `line` with each row and each column of each channel: first sample, stride, count.
template <typename Work>
void ForLines(Plane& plane, Work line) {
  const auto channels = static_cast<size_t>(plane.channels);
  for (int y = 0; y < plane.height; ++y) {
    for (int c = 0; c < plane.channels; ++c) line(plane.At(0, y) + c, channels, plane.width);
  }
  for (int x = 0; x < plane.width; ++x) {
    for (int c = 0; c < plane.channels; ++c) {
      line(plane.At(x, 0) + c, channels * static_cast<size_t>(plane.width), plane.height);
    }
  }
}

}  // namespace

Colour Mix(Colour a, Colour b, float share) {
  return {a.b + (b.b - a.b) * share, a.g + (b.g - a.g) * share, a.r + (b.r - a.r) * share};
}

float SineTurn(float turns) {
  double t = static_cast<double>(turns) - std::floor(static_cast<double>(turns));  // 0 to 1
  double sign = 1;
  if (t >= 0.5) t -= 0.5, sign = -1;
  if (t > 0.25) t = 0.5 - t;
  const double a = t * 6.283185307179586, q = a * a;
  return static_cast<float>(sign * a * (1 - q / 6 * (1 - q / 20 * (1 - q / 42 * (1 - q / 72 * (1 - q / 110))))));
}

float ExpNegative(float x) {
  if (x < -80) return 0;
  double value = 1 + static_cast<double>(x) / 65536;
  for (int i = 0; i < 16; ++i) value *= value;
  return static_cast<float>(value);
}

float Smooth(float from, float to, float x) {
  const float t = std::clamp((x - from) / (to - from), 0.0f, 1.0f);
  return t * t * (3 - 2 * t);
}

float Noise(float x, float y, uint32_t seed) {
  const float fx = std::floor(x), fy = std::floor(y);
  const auto ix = static_cast<int32_t>(fx), iy = static_cast<int32_t>(fy);
  const float u = Smooth(0, 1, x - fx), v = Smooth(0, 1, y - fy);
  const float top = Hash(ix, iy, seed) + u * (Hash(ix + 1, iy, seed) - Hash(ix, iy, seed));
  const float bottom = Hash(ix, iy + 1, seed) + u * (Hash(ix + 1, iy + 1, seed) - Hash(ix, iy + 1, seed));
  return top + v * (bottom - top);
}

float Turbulence(float x, float y, uint32_t seed) {
  float sum = 0, weight = 0.5f;
  for (uint32_t octave = 0; octave < 4; ++octave) {
    sum += weight * Noise(x, y, seed + octave);
    x *= 2.03f, y *= 2.03f, weight *= 0.5f;
  }
  return sum;
}

void Blur(Plane& plane, float sigma) {
  std::vector<float> copy;
  if (sigma > 4) {
    const int radius = static_cast<int>((std::sqrt(4 * sigma * sigma + 1) - 1) / 2 + 0.5f);
    for (int i = 0; i < 3; ++i) {
      ForLines(plane, [&](float* line, size_t stride, int count) { BoxLine(line, stride, count, radius, copy); });
    }
    return;
  }
  const int radius = static_cast<int>(3.5f * sigma) + 1;
  std::vector<float> kernel;
  float sum = 0;
  for (int k = -radius; k <= radius; ++k) sum += kernel.emplace_back(Bell(static_cast<float>(k) / sigma));
  for (float& weight : kernel) weight /= sum;
  ForLines(plane, [&](float* line, size_t stride, int count) { KernelLine(line, stride, count, kernel, copy); });
}

void PutOver(float* pixel, Colour colour, float coverage, Stuff stuff) {
  const float rest = 1 - coverage;
  pixel[kBlue] = pixel[kBlue] * rest + colour.b * coverage;
  pixel[kGreen] = pixel[kGreen] * rest + colour.g * coverage;
  pixel[kRed] = pixel[kRed] * rest + colour.r * coverage;
  pixel[kAlpha] = pixel[kAlpha] * rest + coverage;
  pixel[kHair] = pixel[kHair] * rest + (stuff == Stuff::kHair ? coverage : 0);
}

Line Closed(const Line& points) {
  Line line;
  const size_t count = points.size();
  for (size_t i = 0; i < count; ++i) {
    for (int k = 0; k < kSteps; ++k) {
      line.push_back(Spline(points[(i + count - 1) % count], points[i], points[(i + 1) % count],
                            points[(i + 2) % count], static_cast<float>(k) / kSteps));
    }
  }
  return line;
}

Line Open(const Line& points) {
  Line line;
  const size_t count = points.size();
  for (size_t i = 0; i + 1 < count; ++i) {
    for (int k = 0; k < kSteps; ++k) {
      line.push_back(Spline(points[i > 0 ? i - 1 : 0], points[i], points[i + 1], points[std::min(i + 2, count - 1)],
                            static_cast<float>(k) / kSteps));
    }
  }
  line.push_back(points.back());
  return line;
}

void FillShape(Plane& layer, const Line& outline, Stuff stuff, const Paint& paint) {
  constexpr int kLines = 8;
  float top = outline[0].y, bottom = top;
  for (const Place& p : outline) top = std::min(top, p.y), bottom = std::max(bottom, p.y);
  std::vector<float> crossings, coverage(static_cast<size_t>(layer.width));
  const int first = std::max(0, static_cast<int>(std::floor(top)));
  const int last = std::min(layer.height - 1, static_cast<int>(std::floor(bottom)));
  for (int y = first; y <= last; ++y) {
    std::fill(coverage.begin(), coverage.end(), 0.0f);
    for (int k = 0; k < kLines; ++k) {
      const float at = static_cast<float>(y) + (static_cast<float>(k) + 0.5f) / kLines;
      crossings.clear();
      for (size_t i = 0; i < outline.size(); ++i) {
        const Place a = outline[i], b = outline[(i + 1) % outline.size()];
        if ((a.y <= at) != (b.y <= at)) crossings.push_back(a.x + (b.x - a.x) * ((at - a.y) / (b.y - a.y)));
      }
      std::sort(crossings.begin(), crossings.end());
      for (size_t i = 0; i + 1 < crossings.size(); i += 2) {
        const float from = std::max(crossings[i], 0.0f);
        const float to = std::min(crossings[i + 1], static_cast<float>(layer.width));
        for (int x = static_cast<int>(from); x < layer.width && static_cast<float>(x) < to; ++x) {
          const auto left = static_cast<float>(x);
          coverage[static_cast<size_t>(x)] += std::max(0.0f, std::min(to, left + 1) - std::max(from, left)) / kLines;
        }
      }
    }
    for (int x = 0; x < layer.width; ++x) {
      const float share = std::min(1.0f, coverage[static_cast<size_t>(x)]);
      if (share > 0) {
        PutOver(layer.At(x, y), paint(static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f), share, stuff);
      }
    }
  }
}

void Shade(Plane& layer, Place centre, float sigmaX, float sigmaY, Colour strength) {
  auto range = [](float middle, float reach, int size) {
    return std::pair<int, int>{std::clamp(static_cast<int>(middle - reach), 0, size),
                               std::clamp(static_cast<int>(middle + reach) + 1, 0, size)};
  };
  const auto [left, right] = range(centre.x, 3.2f * sigmaX, layer.width);
  const auto [top, bottom] = range(centre.y, 3.2f * sigmaY, layer.height);
  for (int y = top; y < bottom; ++y) {
    const float row = Bell((static_cast<float>(y) + 0.5f - centre.y) / sigmaY);
    for (int x = left; x < right; ++x) {
      const float bell = row * Bell((static_cast<float>(x) + 0.5f - centre.x) / sigmaX);
      float* pixel = layer.At(x, y);
      const float most = 255 * pixel[kAlpha];
      pixel[kBlue] = std::clamp(pixel[kBlue] * (1 + strength.b * bell), 0.0f, most);
      pixel[kGreen] = std::clamp(pixel[kGreen] * (1 + strength.g * bell), 0.0f, most);
      pixel[kRed] = std::clamp(pixel[kRed] * (1 + strength.r * bell), 0.0f, most);
    }
  }
}

void StrandPainter::Cover(Place from, Place to, float width, float along, float alongStep) {
  const float reach = width / 2 + 0.5f;
  const Place way = to - from;
  const float length2 = way.x * way.x + way.y * way.y;
  auto low = [](float a, float b, float r) { return std::max(0, static_cast<int>(std::floor(std::min(a, b) - r))); };
  auto high = [](float a, float b, float r, int size) {
    return std::min(size - 1, static_cast<int>(std::floor(std::max(a, b) + r)));
  };
  const int right = high(from.x, to.x, reach, layer_.width), bottom = high(from.y, to.y, reach, layer_.height);
  for (int y = low(from.y, to.y, reach); y <= bottom; ++y) {
    for (int x = low(from.x, to.x, reach); x <= right; ++x) {
      const Place p{static_cast<float>(x) + 0.5f - from.x, static_cast<float>(y) + 0.5f - from.y};
      const float t = length2 > 0 ? std::clamp((p.x * way.x + p.y * way.y) / length2, 0.0f, 1.0f) : 0;
      const Place off = p - way * t;
      const float distance = std::sqrt(off.x * off.x + off.y * off.y);
      // What a pixel's width across the strand has of it.
      const float covered = std::min(distance + 0.5f, width / 2) - std::max(distance - 0.5f, -width / 2);
      if (covered <= 0) continue;
      const size_t i = static_cast<size_t>(y) * static_cast<size_t>(layer_.width) + static_cast<size_t>(x);
      if (coverage_[i] == 0) touched_.push_back(i);
      if (covered > coverage_[i]) coverage_[i] = covered, along_[i] = along + t * alongStep;
    }
  }
}

void StrandPainter::Draw(const Line& line, float rootWidth, float tipWidth, float opacity, Stuff stuff,
                         const std::function<Colour(float along)>& colour) {
  if (line.size() < 2) return;
  const float step = 1 / static_cast<float>(line.size() - 1);
  for (size_t i = 0; i + 1 < line.size(); ++i) {
    const float along = static_cast<float>(i) * step;
    Cover(line[i], line[i + 1], rootWidth + (tipWidth - rootWidth) * along, along, step);
  }
  for (const size_t i : touched_) {
    PutOver(layer_.values.data() + i * kLayerChannels, colour(along_[i]), std::min(1.0f, coverage_[i]) * opacity,
            stuff);
    coverage_[i] = 0;
  }
  touched_.clear();
}

}  // namespace qx::bench::hair
