// The parts that turn a coarse map into a mask: resampling, regions, the guided filter, the outline.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <random>

#include "photo/person/guided_filter.h"
#include "photo/person/outline.h"
#include "photo/person/region.h"

namespace qx::photo {
namespace {

Raster RandomRaster(int width, int height, int channels, unsigned seed) {
  std::mt19937 random(seed);
  Raster raster(width, height, channels);
  for (float& value : raster.values) value = static_cast<float>(random() % 1000) / 999;
  return raster;
}

// Mean of f(x, y) over the clipped square around a pixel.
double WindowMean(const Raster& size, int x, int y, int radius, const std::function<double(int, int)>& f) {
  double sum = 0;
  int count = 0;
  for (int v = std::max(0, y - radius); v <= std::min(size.height - 1, y + radius); ++v) {
    for (int u = std::max(0, x - radius); u <= std::min(size.width - 1, x + radius); ++u, ++count) sum += f(u, v);
  }
  return sum / count;
}

// Least squares as the method's authors state them, window by window, by Gaussian elimination.
void PlainLine(const Raster& guide, const Raster& map, int x, int y, int radius, double epsilon, double line[4]) {
  auto mean = [&](const std::function<double(int, int)>& f) { return WindowMean(guide, x, y, radius, f); };
  auto g = [&](int u, int v, int c) { return double{guide.At(u, v)[c]}; };
  double m[3][4], means[3];
  const double p = mean([&](int u, int v) { return double{*map.At(u, v)}; });
  for (int i = 0; i < 3; ++i) means[i] = mean([&](int u, int v) { return g(u, v, i); });
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      m[i][j] = mean([&](int u, int v) { return (g(u, v, i) - means[i]) * (g(u, v, j) - means[j]); });
    }
    m[i][i] += epsilon;
    m[i][3] = mean([&](int u, int v) { return (g(u, v, i) - means[i]) * (*map.At(u, v) - p); });
  }
  for (int i = 0; i < 3; ++i) {
    for (int k = 0; k < 3; ++k) {
      const double factor = k == i ? 0 : m[k][i] / m[i][i];
      for (int j = i; j < 4; ++j) m[k][j] -= factor * m[i][j];
    }
  }
  line[3] = p;
  for (int i = 0; i < 3; ++i) {
    line[i] = m[i][3] / m[i][i];
    line[3] -= line[i] * means[i];
  }
}

TEST(GuidedFilter, FitsTheLinesOfThePlainReading) {
  for (const auto& [width, height, radius] : {std::array{9, 7, 2}, std::array{5, 12, 1}, std::array{4, 3, 9}}) {
    const Raster guide = RandomRaster(width, height, 3, 1), map = RandomRaster(width, height, 1, 2);
    constexpr double kEpsilon = 1e-3;
    const Raster lines = GuidedFilterCoefficients(guide, map, radius, kEpsilon);
    Raster plain(width, height, 4);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        double line[4];
        PlainLine(guide, map, x, y, radius, kEpsilon, line);
        for (int c = 0; c < 4; ++c) plain.At(x, y)[c] = static_cast<float>(line[c]);
      }
    }
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        for (int c = 0; c < 4; ++c) {
          const double mean = WindowMean(plain, x, y, radius, [&](int u, int v) { return double{plain.At(u, v)[c]}; });
          EXPECT_NEAR(mean, lines.At(x, y)[c], 2e-4) << width << " " << x << " " << y << " " << c;
        }
      }
    }
  }
}

TEST(Raster, ResampleKeepsPlacesAndMeans) {
  // A ramp stays the same ramp at every scale, away from the edges; a window of the source's own grid is a copy.
  Raster ramp(60, 40, 1);
  for (int y = 0; y < 40; ++y) {
    for (int x = 0; x < 60; ++x) *ramp.At(x, y) = static_cast<float>(x) + 0.5f + 100 * (static_cast<float>(y) + 0.5f);
  }
  for (const double scale : {0.25, 0.7, 1.0, 3.0}) {
    const Window window{10.25, 8.5, 30, 20};
    const int width = static_cast<int>(30 * scale), height = static_cast<int>(20 * scale);
    const Raster part = Resample(ramp, window, width, height);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const double fx = 10.25 + (x + 0.5) * 30 / width, fy = 8.5 + (y + 0.5) * 20 / height;
        EXPECT_NEAR(fx + 100 * fy, *part.At(x, y), 5);  // 0.05 rows
        float sample = 0;
        Sample(ramp, fx, fy, &sample);
        EXPECT_NEAR(fx + 100 * fy, sample, 0.01);
      }
    }
  }
  const Raster noise = RandomRaster(13, 11, 3, 5);
  EXPECT_EQ(noise.values, Resample(noise, {0, 0, 13, 11}, 13, 11).values);
}

Region Draw(const std::vector<std::string>& rows) {
  Region region(static_cast<int>(rows[0].size()), static_cast<int>(rows.size()));
  for (int y = 0; y < region.height; ++y) {
    for (int x = 0; x < region.width; ++x)
      region.At(x, y) = rows[static_cast<size_t>(y)][static_cast<size_t>(x)] == '#';
  }
  return region;
}

TEST(Region, GrowsFillsAndMeasures) {
  const Region region = Draw({"###..#",  //
                              "#.#..#",  //
                              "####.#",  //
                              "....#."});
  Region seed(6, 4);
  seed.At(0, 0) = seed.At(4, 0) = 1;  // the second lies outside
  // Diagonal neighbours do not touch.
  EXPECT_EQ(Draw({"###...", "#.#...", "####..", "......"}).bits, Grow(seed, region, 99).bits);
  EXPECT_EQ(Draw({"###...", "#.....", "#.....", "......"}).bits, Grow(seed, region, 2).bits);

  Region filled = region;
  FillHoles(filled, 0);
  EXPECT_EQ(region.bits, filled.bits);
  FillHoles(filled, 1);  // what touches the edge is no hole
  EXPECT_EQ(Draw({"###..#", "###..#", "####.#", "....#."}).bits, filled.bits);

  const Raster distance = SignedDistance(Draw({"......", "..#...", "......"}));
  EXPECT_FLOAT_EQ(0.5f, *distance.At(2, 1));
  EXPECT_FLOAT_EQ(-0.5f, *distance.At(1, 1));
  EXPECT_FLOAT_EQ(-2.5f, *distance.At(5, 1));
  EXPECT_FLOAT_EQ(0.5f - std::sqrt(2.0f), *distance.At(1, 0));
  EXPECT_LT(1000, *SignedDistance(Draw({"##", "##"})).At(0, 0));
}

TEST(Outline, MovesToTheEdgeOfThePictureAndIsFlatBeyondTheBand) {
  // A dark person on a light, slightly noisy wall, seen by a map whose outline runs 4 pixels too far to the right and
  // is soft. The photograph has twice the map's size.
  std::mt19937 random(3);
  constexpr int kWidth = 300, kHeight = 280, kEdge = 150;
  Image photograph{2 * kWidth, 2 * kHeight, {}};
  for (int i = 0; i < 4 * kWidth * kHeight; ++i) {
    const int level = (i % (2 * kWidth) < 2 * kEdge ? 60 : 200) + static_cast<int>(random() % 9);
    for (int c = 0; c < 3; ++c) photograph.bgr.push_back(static_cast<uint8_t>(level + 10 * c));
  }
  const Raster colours = Resample(photograph, {0, 0, 2 * kWidth, 2 * kHeight}, kWidth, kHeight);
  Raster map(kWidth, kHeight, 1);
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      *map.At(x, y) = std::clamp(0.5f - (static_cast<float>(x) + 0.5f - kEdge - 4) / 6, 0.0f, 1.0f);
    }
  }
  const OutlineFilter filter{12, 1e-4, 2.5f, 14};
  const Raster small = FilterOutline(map, colours, filter);
  const Mask large = FilterOutline(map, colours, filter, photograph, {0, 0, kWidth, kHeight});
  for (int y = 0; y < kHeight; y += 7) {
    for (int x = 0; x < kWidth; ++x) {
      const bool person = x < kEdge, far = x < kEdge + 4 - 15 || x > kEdge + 4 + 15;
      const bool atEdge = std::abs(x - kEdge) <= 3;
      const float value = *small.At(x, y);
      const int byte = large.Row(2 * y)[2 * x];
      if (far) {
        EXPECT_EQ(person ? 1.0f : 0.0f, value) << x;
        EXPECT_EQ(person ? 255 : 0, byte) << x;
      } else if (!atEdge) {
        EXPECT_NEAR(person ? 1.0f : 0.0f, value, 0.2) << x << " " << y;
        EXPECT_NEAR(person ? 255 : 0, byte, 50) << x << " " << y;
      }
    }
  }
}

}  // namespace
}  // namespace qx::photo
