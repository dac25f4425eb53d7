#include "engine/windows.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qx::face {
namespace {

// Starts of tiles along an axis: spread evenly, neighbours at most two thirds of a tile apart.
std::vector<int> TileStarts(int extent) {
  const int spare = extent - kWindowSide;
  if (spare <= 0) return {spare / 2};
  constexpr int kStride = kWindowSide * 2 / 3;
  const int gaps = (spare + kStride - 1) / kStride;
  std::vector<int> starts;
  for (int i = 0; i <= gaps; ++i) starts.push_back(i * spare / gaps);
  return starts;
}

float CellMean(const GreyImage& image, int left, int top, int step) {
  const int x0 = std::max(left, 0), x1 = std::min(left + step, image.width);
  const int y0 = std::max(top, 0), y1 = std::min(top + step, image.height);
  if (x0 >= x1 || y0 >= y1) return 0;
  float sum = 0;
  for (int y = y0; y < y1; ++y) {
    for (int x = x0; x < x1; ++x) sum += image.At(x, y);
  }
  return sum / static_cast<float>((x1 - x0) * (y1 - y0));
}

// A window of step 1: a copy with black where the image ends.
std::vector<float> CopyWindow(const GreyImage& image, const Window& window) {
  std::vector<float> samples(static_cast<size_t>(kWindowSide) * kWindowSide);
  const int x0 = std::max(window.left, 0), x1 = std::min(window.left + kWindowSide, image.width);
  const int y0 = std::max(window.top, 0), y1 = std::min(window.top + kWindowSide, image.height);
  for (int y = y0; y < y1 && x0 < x1; ++y) {
    const float* row = image.values.data() + static_cast<ptrdiff_t>(y) * image.width;
    std::copy(row + x0, row + x1,
              samples.begin() + static_cast<ptrdiff_t>(y - window.top) * kWindowSide + (x0 - window.left));
  }
  return samples;
}

}  // namespace

Window CentredWindow(int width, int height, int step) {
  Window window;
  window.left = (width - kWindowSide * step) / 2;
  window.top = (height - kWindowSide * step) / 2;
  window.step = step;
  return window;
}

std::vector<Window> TileWindows(int width, int height) {
  std::vector<Window> windows;
  for (const int top : TileStarts(height)) {
    for (const int left : TileStarts(width)) {
      windows.push_back({left, top, 1, left > 0, top > 0, left + kWindowSide < width, top + kWindowSide < height});
    }
  }
  return windows;
}

std::vector<float> SampleWindow(const GreyImage& image, const Window& window) {
  if (window.step == 1) return CopyWindow(image, window);
  std::vector<float> samples;
  samples.reserve(static_cast<size_t>(kWindowSide) * kWindowSide);
  for (int v = 0; v < kWindowSide; ++v) {
    for (int u = 0; u < kWindowSide; ++u) {
      samples.push_back(CellMean(image, window.left + u * window.step, window.top + v * window.step, window.step));
    }
  }
  return samples;
}

void FillTurned(const std::vector<float>& samples, int turn, float* input) {
  // First sample, and the way to the next sample of a row and of a column, in the turned window.
  constexpr ptrdiff_t n = kWindowSide;
  static constexpr ptrdiff_t kStart[4] = {0, n - 1, n * n - 1, n * (n - 1)};
  static constexpr ptrdiff_t kRight[4] = {1, n, -1, -n};
  static constexpr ptrdiff_t kDown[4] = {n, -1, -n, 1};
  for (ptrdiff_t v = 0; v < n; ++v) {
    for (ptrdiff_t u = 0; u < n; ++u) {
      const float grey = samples[static_cast<size_t>(kStart[turn] + v * kDown[turn] + u * kRight[turn])];
      const float value = grey * (2.0F / 255) - 1;
      for (int channel = 0; channel < 3; ++channel) *input++ = value;
    }
  }
}

Point TurnBack(Point p, int turn) {
  switch (turn) {
    case 1: return {1 - p.y, p.x};
    case 2: return {1 - p.x, 1 - p.y};
    case 3: return {p.y, 1 - p.x};
    default: return p;
  }
}

Box TurnBack(const Box& box, int turn) {
  const Point a = TurnBack(Point{box.left, box.top}, turn), b = TurnBack(Point{box.right, box.bottom}, turn);
  return {std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
}

bool TouchesInnerBorder(const Window& window, const Box& box) {
  constexpr double kMargin = 0.02;
  return (window.innerLeft && box.left < kMargin) || (window.innerTop && box.top < kMargin) ||
         (window.innerRight && box.right > 1 - kMargin) || (window.innerBottom && box.bottom > 1 - kMargin);
}

}  // namespace qx::face
