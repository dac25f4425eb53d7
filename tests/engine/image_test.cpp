#include "engine/image.h"

#include <gtest/gtest.h>

#include <vector>

#include "engine/windows.h"

namespace qx::face {
namespace {

// Grey value 3 * column + 5 * row: bilinear sampling and area means give it exactly.
std::vector<uint8_t> Ramp(int width, int height) {
  std::vector<uint8_t> pixels;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) pixels.push_back(static_cast<uint8_t>(3 * x + 5 * y));
  }
  return pixels;
}

TEST(Image, ShrinkWeighsCutPixelsByTheirArea) {
  const std::vector<uint8_t> row = {0, 90, 30, 60, 120};
  // Three of five columns into two: the middle one is halved.
  const GreyImage two = ShrinkArea({row.data(), 5, 1}, {1, 0, 3, 1}, 2, 1);
  EXPECT_NEAR(two.At(0, 0), (90 + 15) / 1.5, 1e-4);
  EXPECT_NEAR(two.At(1, 0), (15 + 60) / 1.5, 1e-4);
  const GreyImage column = ShrinkArea({row.data(), 1, 5}, {0, 0, 1, 5}, 1, 2);
  EXPECT_NEAR(column.At(0, 0), (0 + 90 + 15) / 2.5, 1e-4);
  EXPECT_NEAR(column.At(0, 1), (15 + 60 + 120) / 2.5, 1e-4);
}

TEST(Image, LongSideIsExactAndNoSideVanishes) {
  const std::vector<uint8_t> pixels(1000, 77);
  const struct {
    int width, height, newWidth, newHeight;
  } cases[] = {{1000, 1, 384, 1}, {1, 1000, 1, 384}, {40, 25, 384, 240}, {1, 1, 384, 384}, {20, 50, 154, 384}};
  for (const auto& c : cases) {
    const GreyImage scaled = ScaleToLongSide({pixels.data(), c.width, c.height}, 384);
    EXPECT_EQ(scaled.width, c.newWidth);
    EXPECT_EQ(scaled.height, c.newHeight);
    for (const float value : scaled.values) ASSERT_NEAR(value, 77, 1e-3);
  }
}

TEST(Image, RegionIsSampledAtItsOwnCells) {
  const std::vector<uint8_t> pixels = Ramp(40, 20);
  const GreyView image{pixels.data(), 40, 20};
  for (int turn = 0; turn < 4; ++turn) {
    for (const int size : {12, 4}) {  // at the image's scale, and reduced three times
      const Region region{{20, 10}, 12, TurnAngle(turn)};
      std::vector<float> values(static_cast<size_t>(size * size));
      SampleRegion(image, region, size, values.data());
      for (int v = 0; v < size; ++v) {
        for (int u = 0; u < size; ++u) {
          const Point p = FromRegion(region, (u + 0.5) / size, (v + 0.5) / size);
          EXPECT_NEAR(values[static_cast<size_t>(v * size + u)], 3 * (p.x - 0.5) + 5 * (p.y - 0.5),
                      size == 12 ? 1e-3 : 0.2);
        }
      }
    }
  }
}

TEST(Image, RegionOutsideTakesTheNearestBorderPixel) {
  const std::vector<uint8_t> pixels = Ramp(8, 8);
  for (const double far : {100.0, 4e9}) {
    float values[4];
    SampleRegion({pixels.data(), 8, 8}, {{far, far}, 2, 0}, 2, values);
    for (const float value : values) EXPECT_NEAR(value, 56, 1e-3);
    SampleRegion({pixels.data(), 8, 8}, {{-far, 0.5}, 1, 0}, 1, values);
    EXPECT_NEAR(values[0], 0, 1e-3);
    SampleRegion({pixels.data(), 8, 8}, {{4, 4}, far, 0.3}, 2, values);
    for (const float value : values) EXPECT_TRUE(value >= 0 && value <= 56);
  }
}

TEST(Windows, TilesCoverTheImageAndOverlap) {
  for (const int width : {1, 192, 193, 288, 384, 700}) {
    const std::vector<Window> tiles = TileWindows(width, 100);
    EXPECT_EQ(tiles.front().left, width < kWindowSide ? (width - kWindowSide) / 2 : 0);
    EXPECT_GE(tiles.back().left + kWindowSide, width);
    for (size_t i = 0; i < tiles.size(); ++i) {
      EXPECT_EQ(tiles[i].innerLeft, i > 0);
      EXPECT_EQ(tiles[i].innerRight, i + 1 < tiles.size());
      EXPECT_FALSE(tiles[i].innerTop || tiles[i].innerBottom);
      if (i > 0) {
        EXPECT_LE(tiles[i].left - tiles[i - 1].left, 128);
      }
    }
  }
  EXPECT_EQ(TileWindows(384, 288).size(), 6U);
}

TEST(Windows, CellsOutsideAreBlackAndCutCellsCountWhatIsThere) {
  GreyImage image{385, 3, std::vector<float>(385 * 3, 60)};
  image.values[0] = 0;
  const Window window = CentredWindow(385, 3, 2);
  ASSERT_EQ(window.left, 0);
  ASSERT_EQ(window.top, -190);
  const std::vector<float> samples = SampleWindow(image, window);
  const size_t row = 95 * static_cast<size_t>(kWindowSide);
  EXPECT_EQ(samples[row], 45);
  EXPECT_EQ(samples[row + kWindowSide], 60);
  EXPECT_EQ(samples[row - kWindowSide], 0);
  EXPECT_EQ(samples[row + 2 * kWindowSide], 0);
}

// What stands at (u, v) of the turned input stood at TurnBack(u, v) of the window.
TEST(Windows, TurnedInputAndTurnBackAgree) {
  std::vector<float> samples(static_cast<size_t>(kWindowSide) * kWindowSide, 0.0F);
  constexpr int kX = 7, kY = 30;
  samples[kY * kWindowSide + kX] = 255;
  std::vector<float> input(samples.size() * 3);
  for (int turn = 0; turn < 4; ++turn) {
    FillTurned(samples, turn, input.data());
    size_t hits = 0;
    for (int i = 0; i < kWindowSide * kWindowSide; ++i) {
      if (input[static_cast<size_t>(3 * i + 2)] < 0) continue;
      ++hits;
      const Point p =
          TurnBack(Point{(i % kWindowSide + 0.5) / kWindowSide, (i / kWindowSide + 0.5) / kWindowSide}, turn);
      EXPECT_NEAR(p.x * kWindowSide, kX + 0.5, 1e-9);
      EXPECT_NEAR(p.y * kWindowSide, kY + 0.5, 1e-9);
    }
    EXPECT_EQ(hits, 1U);
  }
  const Box box = TurnBack(Box{0.1, 0.2, 0.3, 0.6}, 1);
  EXPECT_NEAR(box.left, 0.4, 1e-12);
  EXPECT_NEAR(box.top, 0.1, 1e-12);
  EXPECT_NEAR(box.right, 0.8, 1e-12);
  EXPECT_NEAR(box.bottom, 0.3, 1e-12);
}

TEST(Windows, OnlyInnerBordersCutFaces) {
  Window window;
  window.innerRight = true;
  EXPECT_FALSE(TouchesInnerBorder(window, {0, 0, 0.97, 1}));
  EXPECT_TRUE(TouchesInnerBorder(window, {0.5, 0.4, 0.99, 0.8}));
}

}  // namespace
}  // namespace qx::face
