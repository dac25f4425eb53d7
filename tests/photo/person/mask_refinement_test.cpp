// The parts that turn a coarse map into a mask: resampling, regions, the guided filter, the outline.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <random>
#include <vector>

#include "photo/base/raster.h"
#include "photo/person/guided_filter.h"
#include "photo/person/outline.h"
#include "photo/person/region.h"

namespace qx::photo {
namespace {

Bytes RandomBytes(size_t count, unsigned seed) {
  std::mt19937 random(seed);
  Bytes bytes(count);
  for (uint8_t& value : bytes) value = static_cast<uint8_t>(random() % 256);
  return bytes;
}

// Mean of f(x, y) over the clipped square around a pixel.
double WindowMean(const Mask& size, int x, int y, int radius, const std::function<double(int, int)>& f) {
  double sum = 0;
  int count = 0;
  for (int v = std::max(0, y - radius); v <= std::min(size.height - 1, y + radius); ++v) {
    for (int u = std::max(0, x - radius); u <= std::min(size.width - 1, x + radius); ++u, ++count) sum += f(u, v);
  }
  return sum / count;
}

size_t At(const Mask& mask, int x, int y) {
  return static_cast<size_t>(mask.Row(y) - mask.values.data()) + static_cast<size_t>(x);
}

// Least squares as the method's authors state them, window by window, by Gaussian elimination.
void PlainLine(const Image& guide, const Mask& map, int x, int y, int radius, double epsilon, double line[4]) {
  auto mean = [&](const std::function<double(int, int)>& f) { return WindowMean(map, x, y, radius, f); };
  auto g = [&](int u, int v, int c) { return guide.At(u, v)[c] - 128.0; };
  auto value = [&](int u, int v) { return map.Row(v)[u] - 128.0; };
  double m[3][4], means[3];
  const double p = mean(value);
  for (int i = 0; i < 3; ++i) means[i] = mean([&](int u, int v) { return g(u, v, i); });
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      m[i][j] = mean([&](int u, int v) { return (g(u, v, i) - means[i]) * (g(u, v, j) - means[j]); });
    }
    m[i][i] += epsilon * 255 * 255;
    m[i][3] = mean([&](int u, int v) { return (g(u, v, i) - means[i]) * (value(u, v) - p); });
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
  struct {
    int width, height, radius;
    PixelBox box;
  } cases[] = {{9, 7, 2, {0, 0, 9, 7}},       {5, 12, 1, {1, 3, 4, 12}}, {4, 3, 9, {0, 0, 4, 3}},
               {40, 90, 3, {20, 60, 40, 72}}, {1, 1, 15, {0, 0, 1, 1}},  {70, 33, 15, {33, 16, 35, 33}}};
  for (const auto& [width, height, radius, box] : cases) {
    const auto pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
    const Image guide(width, height, RandomBytes(3 * pixels, 1));
    const Mask map(width, height, RandomBytes(pixels, 2));
    constexpr double kEpsilon = 1e-3;
    std::vector<std::array<double, 4>> plain(pixels);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) PlainLine(guide, map, x, y, radius, kEpsilon, plain[At(map, x, y)].data());
    }
    GuidedFilter filter(guide, map, radius, kEpsilon);
    const auto across = static_cast<size_t>(box.Width()), stride = 4 * across + 3;
    std::vector<float> lines(static_cast<size_t>(box.Height()) * stride, -1000.0f);
    for (int again = 0; again < 2; ++again) {  // what an earlier box left behind does not matter
      filter.Lines(box, lines.data(), stride);
      for (int y = box.top; y < box.bottom; ++y) {
        const float* row = lines.data() + static_cast<size_t>(y - box.top) * stride;
        EXPECT_EQ(-1000.0f, row[4 * across]);
        for (int x = box.left; x < box.right; ++x) {
          for (size_t c = 0; c < 4; ++c) {
            const double mean = WindowMean(map, x, y, radius, [&](int u, int v) { return plain[At(map, u, v)][c]; });
            EXPECT_NEAR(mean, row[c * across + static_cast<size_t>(x - box.left)], c < 3 ? 1e-4 : 1e-2)
                << width << " " << x << " " << y << " " << c;
          }
        }
      }
    }
  }
}

// A triangle over the source at a point between -0.5 and the size, as wide as two source samples or two target samples.
double PlainResample(const Mask& source, double x, double y, double stepX, double stepY) {
  const double wideX = std::max(1.0, stepX), wideY = std::max(1.0, stepY);
  double sum = 0, weights = 0;
  for (int v = 0; v < source.height; ++v) {
    for (int u = 0; u < source.width; ++u) {
      const double weight =
          std::max(0.0, 1 - std::abs(u + 0.5 - x) / wideX) * std::max(0.0, 1 - std::abs(v + 0.5 - y) / wideY);
      sum += weight * source.Row(v)[u];
      weights += weight;
    }
  }
  return sum / weights;
}

TEST(Raster, ResamplesAsThePlainReading) {
  for (const auto& size : {std::pair{23, 17}, {1, 1}, {2, 9}, {40, 1}}) {
    const int width = size.first, height = size.second;  // no bindings: lambdas take them
    const auto pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
    const Mask mask(width, height, RandomBytes(pixels, 4));
    Image picture(width, height);
    Raster raster(width, height, 1);
    for (size_t i = 0; i < pixels; ++i) {
      raster.values[i] = mask.values[i];
      for (size_t c = 0; c < 3; ++c)
        picture.bgr[3 * i + c] = static_cast<uint8_t>(c == 1 ? 255 - mask.values[i] : mask.values[i]);
    }
    for (const auto& target : {std::pair{23, 17}, {9, 30}, {50, 4}, {1, 1}}) {
      const int across = target.first, down = target.second;
      const Mask whole = ResampleWhole(mask, across, down);
      const Image colours = ResampleWhole(picture, across, down);
      const Rectangle window{width * 0.2, -0.4 * height, width * 0.6, height * 1.9};  // partly outside
      const Raster part = Resample(raster, window, across, down), floats = Resample(picture, window, across, down);
      for (int y = 0; y < down; ++y) {
        for (int x = 0; x < across; ++x) {
          auto plain = [&](const Rectangle& of) {
            const double stepX = of.width / across, stepY = of.height / down;
            return PlainResample(mask, std::clamp(of.left + (x + 0.5) * stepX, 0.5, width - 0.5),
                                 std::clamp(of.top + (y + 0.5) * stepY, 0.5, height - 0.5), stepX, stepY);
          };
          const double all = plain({0, 0, double{1} * width, double{1} * height});
          EXPECT_NEAR(all, whole.Row(y)[x], 0.501);
          EXPECT_NEAR(all, colours.At(x, y)[0], 0.501);
          EXPECT_NEAR(255 - all, colours.At(x, y)[1], 0.501);
          EXPECT_NEAR(plain(window), *part.At(x, y), 1e-3);
          EXPECT_NEAR(plain(window), floats.At(x, y)[2] * 255, 1e-3);
        }
      }
    }
  }
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
  EXPECT_EQ(region.bits, Grow(seed, region, Touching::kCorners).bits);

  Region filled = region;
  FillHoles(filled, 0);
  EXPECT_EQ(region.bits, filled.bits);
  FillHoles(filled, 1);  // what touches the edge is no hole
  EXPECT_EQ(Draw({"###..#", "###..#", "####.#", "....#."}).bits, filled.bits);

  EXPECT_EQ(Draw({"#..", "..#"}).bits,
            AtLeastHalf(Mask(4, 3, Bytes{9, 9, 9, 9, 0, 128, 127, 1, 255, 0, 90, 200}), {1, 1, 4, 3}).bits);
}

TEST(Region, GrowsAtOnceAsStepByStep) {
  std::mt19937 random(3);
  for (const auto& [width, height] : {std::pair{45, 37}, {64, 3}, {1, 30}, {30, 1}, {2, 2}}) {
    for (const unsigned open : {4u, 6u, 9u}) {  // of ten: islands, winding ways, nearly all
      Region region(width, height), seed(width, height);
      for (uint8_t& bit : region.bits) bit = random() % 10 < open;
      for (uint8_t& bit : seed.bits) bit = random() % 40 == 0;
      EXPECT_EQ(Grow(seed, region, width * height).bits, Grow(seed, region).bits);
    }
  }
}

// The least sum of steps to a pixel of the other kind, by the closed form of the chamfer distance.
double PlainDistance(const Region& region, int x, int y) {
  double least = 1e9;
  for (int v = 0; v < region.height; ++v) {
    for (int u = 0; u < region.width; ++u) {
      if (region.At(u, v) == region.At(x, y)) continue;
      const int across = std::abs(u - x), down = std::abs(v - y);
      least = std::min(least, std::max(across, down) + (std::sqrt(2.0) - 1) * std::min(across, down));
    }
  }
  return region.At(x, y) ? least - 0.5 : 0.5 - least;
}

TEST(Region, MeasuresDistancesUpToTheReach) {
  std::mt19937 random(7);
  for (const auto& [width, height] : {std::pair{45, 37}, {1, 1}, {1, 30}, {30, 1}, {9, 9}}) {
    for (const unsigned rare : {2u, 150u, 1u}) {  // the last all in
      Region region(width, height);
      for (uint8_t& bit : region.bits) bit = random() % rare == 0;
      for (const double reach : {1.0, 5.3, 60.0}) {
        const Distances distances = SignedDistance(region, reach);
        for (int y = 0; y < height; ++y) {
          for (int x = 0; x < width; ++x) {
            const double plain = PlainDistance(region, x, y);
            const double measured = double{1} * distances[static_cast<size_t>(y * width + x)] / kDistanceUnit;
            if (std::abs(plain) < reach) {
              EXPECT_NEAR(plain, measured, 0.01) << x << " " << y;
            } else {
              EXPECT_GE(plain > 0 ? measured : -measured, reach) << x << " " << y;
            }
          }
        }
      }
    }
  }
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
  const Image colours = ResampleWhole(photograph, kWidth, kHeight);
  Mask map(kWidth, kHeight);
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const float share = std::clamp(0.5f - (static_cast<float>(x) + 0.5f - kEdge - 4) / 6, 0.0f, 1.0f);
      map.Row(y)[x] = static_cast<uint8_t>(std::lround(share * 255));
    }
  }
  const OutlineFilter filter{12, 1e-4, 2.5f, 14};
  const Rectangle whole{0, 0, kWidth, kHeight};
  const Mask small = FilterOutline(map, colours, filter, colours, whole);
  const Mask large = FilterOutline(map, colours, filter, photograph, whole);
  for (int y = 0; y < kHeight; y += 7) {
    for (int x = 0; x < kWidth; ++x) {
      const bool person = x < kEdge, far = x < kEdge + 4 - 15 || x > kEdge + 4 + 15;
      const bool atEdge = std::abs(x - kEdge) <= 3;
      const int value = small.Row(y)[x];
      const int byte = large.Row(2 * y)[2 * x];
      if (far) {
        EXPECT_EQ(person ? 255 : 0, value) << x;
        EXPECT_EQ(person ? 255 : 0, byte) << x;
      } else if (!atEdge) {
        EXPECT_NEAR(person ? 255 : 0, value, 50) << x << " " << y;
        EXPECT_NEAR(person ? 255 : 0, byte, 50) << x << " " << y;
      }
    }
  }
}

// A mask of the whole photograph holds those of its parts, bit by bit: what is written whole can be read for a part.
TEST(Outline, IsTheSameInEveryPart) {
  constexpr int kWidth = 230, kHeight = 310;  // of the map, half of the photograph's
  Image whole(2 * kWidth, 2 * kHeight, RandomBytes(size_t{12} * kWidth * kHeight, 6));
  const auto reach = [](double x, double y) { return std::hypot((x - 120) / 70, (y - 170) / 110); };
  for (int y = 0; y < whole.height; ++y) {
    for (int x = 0; x < whole.width; ++x) {
      const int level = reach(x / 2.0 - 1.5, y / 2.0 + 2) < 1 ? 40 : 150;
      for (int c = 0; c < 3; ++c) whole.At(x, y)[c] = static_cast<uint8_t>(level + whole.At(x, y)[c] / 4);
    }
  }
  const Image colours = ResampleWhole(whole, kWidth, kHeight);
  Mask map(kWidth, kHeight);
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      map.Row(y)[x] = static_cast<uint8_t>(std::clamp(128 + 900 * (1 - reach(x, y)), 0.0, 255.0));
    }
  }
  const OutlineFilter filter{9, 1e-4, 2.5f, 11};
  const Mask all = FilterOutline(map, colours, filter, whole, {0, 0, kWidth, kHeight});
  for (int top = 0; top < 400; top += 13) {
    const PixelBox box{top / 3, top, std::min(whole.width, top + 250), std::min(whole.height, top + 301)};
    Image picture(box.Width(), box.Height());
    for (int y = 0; y < picture.height; ++y) {
      std::copy_n(whole.At(box.left, top + y), 3 * picture.width, picture.At(0, y));
    }
    const Rectangle window{box.left / 2.0, top / 2.0, box.Width() / 2.0, box.Height() / 2.0};
    const Mask part = FilterOutline(map, colours, filter, picture, window);
    for (int y = 0; y < part.height; ++y) {
      const uint8_t* there = all.Row(top + y) + box.left;
      ASSERT_TRUE(std::equal(there, there + part.width, part.Row(y))) << top << " " << y;
    }
  }
}

TEST(Outline, GoesOnOutsideOfTheMap) {
  Image colours(1, 1, Bytes{10, 20, 30});
  for (const int value : {0, 255}) {
    const Mask map(1, 1, static_cast<uint8_t>(value));
    for (const Rectangle& window : {Rectangle{-50, -70, 9, 9}, {0.4, 0.4, 0.1, 0.1}, {3, 900, 1e4, 1e-3}}) {
      const Mask mask = FilterOutline(map, colours, {2, 1e-4, 2, 3}, Image(7, 3, RandomBytes(63, 1)), window);
      EXPECT_EQ(Bytes(21, static_cast<uint8_t>(value)), mask.values);
    }
  }
  // Two halves of 20 columns: beyond the upper edge they go on as in its row.
  colours = Image(40, 10);
  Mask map(40, 10);
  for (int i = 0; i < 400; ++i) {
    const auto at = static_cast<size_t>(i);
    map.values[at] = i % 40 < 20 ? 255 : 0;
    std::fill_n(&colours.bgr[3 * at], 3, map.values[at]);
  }
  Image above(40, 30);
  for (int y = 0; y < 30; ++y) std::copy_n(colours.At(0, 0), 120, above.At(0, y));
  const Mask mask = FilterOutline(map, colours, {2, 1e-4, 2, 3}, above, {0, -30, 40, 30});
  for (int y = 0; y < 30; ++y) {
    for (int x = 0; x < 40; ++x) EXPECT_NEAR(x < 20 ? 255 : 0, mask.Row(y)[x], 2) << x << " " << y;
  }
}

}  // namespace
}  // namespace qx::photo
