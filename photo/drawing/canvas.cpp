#include "photo/drawing/canvas.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

namespace qx::photo {
namespace {

constexpr Ink kBlack{0, 0, 0};

// Digits 0 to 9, seven rows of five pixels, the leftmost in bit 4: no font needs to be installed.
constexpr uint8_t kDigits[10][kDigitHeight] = {
    {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}, {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E},
    {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}, {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E},
    {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}, {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E},
    {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}, {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},
    {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}, {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C}};

double Length(double x, double y) {
  return std::sqrt(x * x + y * y);
}

}  // namespace

Canvas::Canvas(int32_t width, int32_t height, Ink ink) : image_(width, height) {
  const uint8_t colour[] = {ink.blue, ink.green, ink.red};
  for (size_t i = 0; i < image_.bgr.size(); ++i) image_.bgr[i] = colour[i % 3];
}

Canvas::Canvas(const Image& photograph, int factor) : image_(photograph.width * factor, photograph.height * factor) {
  uint8_t* to = image_.bgr.data();
  for (int32_t y = 0; y < image_.height; ++y) {
    for (int32_t x = 0; x < image_.width; ++x) to = std::copy_n(photograph.At(x / factor, y / factor), 3, to);
  }
}

void Canvas::Paste(const Image& picture, int32_t left, int32_t top) {
  const int32_t from = std::max(left, 0), to = std::min(left + picture.width, image_.width);
  if (from >= to) return;
  for (int32_t y = std::max(top, 0); y < std::min(top + picture.height, image_.height); ++y) {
    std::copy_n(picture.At(from - left, y - top), 3 * static_cast<size_t>(to - from), image_.At(from, y));
  }
}

void Canvas::Mix(int32_t x, int32_t y, Ink ink, int share) {
  const uint8_t colour[] = {ink.blue, ink.green, ink.red};
  uint8_t* pixel = image_.At(x, y);
  for (int c = 0; c < 3; ++c) pixel[c] = static_cast<uint8_t>((pixel[c] * (256 - share) + colour[c] * share) / 256);
}

void Canvas::Fill(const PixelBox& box, Ink ink, int share) {
  for (int32_t y = std::max(box.top, 0); y < std::min(box.bottom, image_.height); ++y) {
    for (int32_t x = std::max(box.left, 0); x < std::min(box.right, image_.width); ++x) Mix(x, y, ink, share);
  }
}

void Canvas::Dot(Point at, int radius, Ink ink) {
  Fill({at.x - radius, at.y - radius, at.x + radius + 1, at.y + radius + 1}, ink);
}

void Canvas::Line(Point from, Point to, int radius, Ink ink) {
  const int steps = std::max({std::abs(to.x - from.x), std::abs(to.y - from.y), 1});
  for (int i = 0; i <= steps; ++i) {
    const double t = static_cast<double>(i) / steps;
    Dot({static_cast<int32_t>(std::lround(from.x + t * (to.x - from.x))),
         static_cast<int32_t>(std::lround(from.y + t * (to.y - from.y)))},
        radius, ink);
  }
}

PixelBox Canvas::Covered(double left, double top, double right, double bottom) const {
  const auto clip = [](double place, int32_t size) {
    return static_cast<int32_t>(std::clamp(std::floor(place), 0.0, static_cast<double>(size)));
  };
  return {clip(left, image_.width), clip(top, image_.height), clip(right + 1, image_.width),
          clip(bottom + 1, image_.height)};
}

void Canvas::Stroke(PlacePoint from, PlacePoint to, double width, Ink ink) {
  const double dx = to.x - from.x, dy = to.y - from.y, square = dx * dx + dy * dy, reach = width / 2 + 1;
  if (!std::isfinite(square) || !std::isfinite(reach)) return;
  const PixelBox rows = Covered(0, std::min(from.y, to.y) - reach, 0, std::max(from.y, to.y) + reach);
  for (int32_t y = rows.top; y < rows.bottom; ++y) {
    // Only the columns that the line crosses near this row: a long slope would else cost its whole box.
    const auto columnAt = [&](double row) {
      return dy == 0 ? from.x : from.x + std::clamp((row - from.y) / dy, 0.0, 1.0) * dx;
    };
    const double a = columnAt(y + 0.5 - reach), b = dy == 0 ? to.x : columnAt(y + 0.5 + reach);
    const PixelBox columns = Covered(std::min(a, b) - reach, 0, std::max(a, b) + reach, 0);
    for (int32_t x = columns.left; x < columns.right; ++x) {
      const double px = x + 0.5 - from.x, py = y + 0.5 - from.y;
      const double along = square > 0 ? std::clamp((px * dx + py * dy) / square, 0.0, 1.0) : 0;
      Soft(x, y, Length(px - along * dx, py - along * dy), width, ink);
    }
  }
}

void Canvas::Ring(PlacePoint centre, double radius, double width, Ink ink) {
  const double reach = radius + width / 2 + 1;
  if (!std::isfinite(centre.x) || !std::isfinite(centre.y) || !std::isfinite(reach)) return;
  const PixelBox box = Covered(centre.x - reach, centre.y - reach, centre.x + reach, centre.y + reach);
  for (int32_t y = box.top; y < box.bottom; ++y) {
    for (int32_t x = box.left; x < box.right; ++x) {
      Soft(x, y, std::abs(Length(x + 0.5 - centre.x, y + 0.5 - centre.y) - radius), width, ink);
    }
  }
}

void Canvas::Soft(int32_t x, int32_t y, double distance, double width, Ink ink) {
  const double share = std::clamp(width / 2 + 0.5 - distance, 0.0, 1.0);
  if (share > 0) Mix(x, y, ink, static_cast<int>(256 * share));
}

void Canvas::Number(int left, int top, int number, int size, Ink ink) {
  for (const bool rim : {true, false}) {
    int x = left;
    for (const char c : std::to_string(number)) {
      Digit(x, top, c - '0', size, rim, ink);
      x += (kDigitWidth + 1) * size;
    }
  }
}

void Canvas::Digit(int left, int top, int digit, int size, bool rim, Ink ink) {
  const int border = rim ? size : 0;
  for (int y = 0; y < kDigitHeight; ++y) {
    for (int x = 0; x < kDigitWidth; ++x) {
      if ((kDigits[digit][y] >> (kDigitWidth - 1 - x) & 1) == 0) continue;
      Fill({left + x * size - border, top + y * size - border, left + (x + 1) * size + border,
            top + (y + 1) * size + border},
           rim ? kBlack : ink);
    }
  }
}

}  // namespace qx::photo
