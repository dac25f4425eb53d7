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

}  // namespace

Canvas::Canvas(const Image& photograph, int factor) : image_(photograph.width * factor, photograph.height * factor) {
  uint8_t* to = image_.bgr.data();
  for (int32_t y = 0; y < image_.height; ++y) {
    for (int32_t x = 0; x < image_.width; ++x) to = std::copy_n(photograph.At(x / factor, y / factor), 3, to);
  }
}

void Canvas::Fill(const PixelBox& box, Ink ink, int share) {
  const uint8_t colour[] = {ink.blue, ink.green, ink.red};
  for (int32_t y = std::max(box.top, 0); y < std::min(box.bottom, image_.height); ++y) {
    for (int32_t x = std::max(box.left, 0); x < std::min(box.right, image_.width); ++x) {
      uint8_t* pixel = image_.At(x, y);
      for (int c = 0; c < 3; ++c) {
        pixel[c] = static_cast<uint8_t>((pixel[c] * (256 - share) + colour[c] * share) / 256);
      }
    }
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
