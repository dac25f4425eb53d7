#include "beauty/spots/spot_edges.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "kernels/kernels.h"

namespace qx {
namespace {

constexpr double kLowerShare = 0.86;
constexpr double kUpperShare = 0.98;

// Smoothing, gradient and dilation each look one pixel farther.
constexpr int32_t kReach = 3;

void GreyRows(const ImageView& image, WindowPlane* grey) {
  const Window& w = grey->window;
  for (int32_t y = w.top; y < w.bottom; ++y) {
    ActiveKernels().greyRow(image.Row(y) + static_cast<size_t>(w.left) * 3, w.Width(), grey->Row(y));
  }
}

// Weights 496 in the centre, 104 and 22 around it, in thousandths; the rim of the plane is copied.
void Smooth(const WindowPlane& from, WindowPlane* to) {
  const Window& w = from.window;
  const size_t width = w.Width();
  for (int32_t y = w.top; y < w.bottom; ++y) {
    const uint8_t* row = from.Row(y);
    uint8_t* out = to->Row(y);
    std::memcpy(out, row, width);
    if (y == w.top || y == w.bottom - 1) continue;
    const uint8_t *up = row - width, *down = row + width;
    for (size_t x = 1; x + 1 < width; ++x) {
      const int next = up[x] + down[x] + row[x - 1] + row[x + 1];
      const int corners = up[x - 1] + up[x + 1] + down[x - 1] + down[x + 1];
      const int sum = 496 * row[x] + 104 * next + 22 * corners + 500;
      out[x] = static_cast<uint8_t>(static_cast<uint16_t>(sum >> 3) / 125);
    }
  }
}

// Twice the gradient, squared: differences are over two pixels inside the window and over one, doubled, at its rim.
// Row y of a window of the plane.
void SquaredGradientRow(const WindowPlane& grey, const Window& w, int32_t y, int32_t* out) {
  const auto at = [&](int32_t row) { return grey.Row(row) + (w.left - grey.window.left); };
  const bool first = y == w.top, last = y == w.bottom - 1;
  const uint8_t* row = at(y);
  const uint8_t* up = first ? row : at(y - 1);
  const uint8_t* down = last ? row : at(y + 1);
  const int scale = first || last ? 2 : 1;
  const auto square = [=](size_t left, size_t x, size_t right, int across) {
    const int dx = (row[right] - row[left]) * across, dy = (down[x] - up[x]) * scale;
    return dx * dx + dy * dy;
  };
  const size_t end = w.Width() - 1;
  out[0] = square(0, 0, std::min<size_t>(1, end), 2);
  for (size_t x = 1; x < end; ++x) out[x] = square(x - 1, x, x + 1, 1);
  if (end > 0) out[end] = square(end - 1, end, end, 2);
}

// Edge strengths from `lower` to `upper` count.
struct Band {
  int lower = 0, upper = 0;
};

// False when memory is short.
bool FindBand(const WindowPlane& grey, const Window& face, Band* band) {
  Buffer<int32_t> squares;
  const size_t width = face.Width();
  if (!squares.Allocate(width)) return false;
  uint64_t counts[256] = {};
  for (int32_t y = face.top; y < face.bottom; ++y) {
    SquaredGradientRow(grey, face, y, squares.data());
    for (size_t x = 0; x < width; ++x) {
      // Exact: the squares are quarters of whole numbers far below 2^24.
      const float magnitude = std::sqrt(static_cast<float>(squares[x]) * 0.25f);
      ++counts[static_cast<size_t>(std::min(magnitude, 255.0f))];
    }
  }
  const auto total = static_cast<double>(width * face.Height());
  double share = 0;
  bool lowerFound = false;
  for (int i = 0; i < 256; ++i) {
    share += static_cast<double>(counts[i]) / total;
    if (!lowerFound && share > kLowerShare) {
      band->lower = i;
      lowerFound = true;
    }
    if (share > kUpperShare) {
      band->upper = i;
      break;
    }
  }
  return true;
}

// 255 where the strength lies in the band. A truncated root r is in it when 4 lower^2 <= (2 r)^2 < 4 (upper + 1)^2.
bool MarkBand(const WindowPlane& grey, const Band& band, WindowPlane* marks) {
  const Window& w = grey.window;
  Buffer<int32_t> squares;
  if (!squares.Allocate(w.Width())) return false;
  const int32_t least = 4 * band.lower * band.lower;
  const int32_t most = band.upper == 255 ? INT32_MAX : 4 * (band.upper + 1) * (band.upper + 1) - 1;
  for (int32_t y = w.top; y < w.bottom; ++y) {
    SquaredGradientRow(grey, w, y, squares.data());
    uint8_t* out = marks->Row(y);
    for (size_t x = 0; x < w.Width(); ++x) out[x] = squares[x] >= least && squares[x] <= most ? 255 : 0;
  }
  return true;
}

// The largest of each 3 x 3 square; 0 on the rim.
void Dilate(const WindowPlane& from, WindowPlane* to) {
  const Window& w = from.window;
  const size_t width = w.Width();
  for (int32_t y = w.top; y < w.bottom; ++y) {
    uint8_t* out = to->Row(y);
    std::memset(out, 0, width);
    if (y == w.top || y == w.bottom - 1) continue;
    const uint8_t *row = from.Row(y), *up = row - width, *down = row + width;
    const auto column = [=](size_t x) { return static_cast<uint8_t>(up[x] | row[x] | down[x]); };
    for (size_t x = 1; x + 1 < width; ++x) out[x] = static_cast<uint8_t>(column(x - 1) | column(x) | column(x + 1));
  }
}

}  // namespace

Status BuildSpotEdges(const ImageView& image, const Window& face, const Window& wanted, SpotEdges* result) {
  // Where the window ends inside the image, its rim is not the image's, and what comes from it is not exact: that is
  // `kReach` pixels wide.
  const Window window = {std::max(wanted.left - kReach, 0), std::max(wanted.top - kReach, 0),
                         static_cast<int32_t>(std::min(int64_t{wanted.right} + kReach, int64_t{image.width})),
                         static_cast<int32_t>(std::min(int64_t{wanted.bottom} + kReach, int64_t{image.height}))};
  WindowPlane scratch;
  Band band;
  if (!scratch.Allocate(window) || !result->grey.Allocate(window) || !result->edges.Allocate(window)) {
    return Status::kMemoryShort;
  }
  GreyRows(image, &scratch);
  Smooth(scratch, &result->grey);
  if (!FindBand(result->grey, face, &band) || !MarkBand(result->grey, band, &scratch)) {
    return Status::kMemoryShort;
  }
  Dilate(scratch, &result->edges);
  return Status::kOk;
}

}  // namespace qx
