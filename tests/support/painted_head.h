// A head with strands of hair painted before a wall, what is behind it, and a map of the person without the strands.
#ifndef QX_TESTS_SUPPORT_PAINTED_HEAD_H
#define QX_TESTS_SUPPORT_PAINTED_HEAD_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "photo/person/mask.h"

namespace qx::test {

using Colour = std::array<double, 3>;  // blue, green, red

// Lengths in face widths from the face's middle: hair, a face, a neck, clothes down to the lower edge. 4 by 4.4 of them
// in all. Wall(u, v) gives a Colour.
class PaintedHead {
 public:
  template <typename Wall>
  explicit PaintedHead(Wall behind, int width = 100, const Colour& hair = {30, 35, 45})
      : faceWidth(width),
        picture(4 * width, 44 * width / 10),
        wall(picture.width, picture.height),
        truth(picture.width, picture.height),
        coverage(picture.width, picture.height),
        face{1.5 * width, 1.5 * width, 2.5 * width, 2.5 * width} {
    uint32_t random = 1;
    for (int y = 0; y < picture.height; ++y) {
      for (int x = 0; x < picture.width; ++x) {
        const double u = U(x), v = V(y), solid = Solid(u, v, 1), share = std::max(solid, Strand(u, v));
        truth.Row(y)[x] = Byte(255 * share);
        coverage.Row(y)[x] = Byte(255 * Solid(u, v, 4));
        const Colour person = Person(u, v, hair), there = behind(u, v);
        for (size_t c = 0; c < 3; ++c) {
          random = random * 1664525 + 1013904223;
          const double noise = static_cast<double>(random >> 29) - 3.5;
          wall.At(x, y)[c] = Byte(there[c]);
          picture.At(x, y)[c] = Byte(share * person[c] + (1 - share) * there[c] + noise);
        }
      }
    }
  }

  photo::PersonMap Map() const { return {coverage, picture, double{1} * faceWidth, 1, 1, std::nullopt}; }
  photo::Rectangle Whole() const { return {0, 0, double{1} * picture.width, double{1} * picture.height}; }
  // Of a pixel's middle.
  double U(int x) const { return (x + 0.5) / faceWidth - 2; }
  double V(int y) const { return (y + 0.5) / faceWidth - 2; }

  int faceWidth;
  photo::Image picture, wall;
  photo::Mask truth, coverage;  // with the strands; without, as found roughly
  photo::FaceBox face;

 private:
  static uint8_t Byte(double value) { return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0, 255.0))); }
  static double Radius(double u, double v) { return std::hypot(u / 0.72, (v + 0.1) / 0.85); }
  // Without strands, its outline that many pixels wide.
  double Solid(double u, double v, double soft) const {
    const double body = std::min(1.4, v < 0.75 ? 0.3 : 0.3 + 0.9 * (v - 0.75));
    const double inside = std::max((1 - Radius(u, v)) * 0.75, v > 0 ? body - std::abs(u) : -1);
    return std::clamp(0.5 + inside * faceWidth / soft, 0.0, 1.0);
  }
  // Three pixels of eight at a face of a hundred, thinning out.
  static double Strand(double u, double v) {
    const double radius = Radius(u, v), turn = std::atan2(v + 0.1, u) * 60 / 6.283185307;
    if (radius < 1 || radius > 1.35 || v > 0.3) return 0;
    return std::clamp(5 * (0.25 - std::abs(turn - std::floor(turn) - 0.5)) * (1.35 - radius) / 0.35, 0.0, 1.0);
  }
  static Colour Person(double u, double v, const Colour& hair) {
    if (std::hypot(u / 0.36, v / 0.52) < 1 || (std::abs(u) < 0.3 && v > 0.3 && v < 0.85)) return {120, 150, 200};
    return v > 0.75 && Radius(u, v) > 1 ? Colour{90, 60, 50} : hair;
  }
};

inline Colour PlainWall(double, double) {
  return {200, 190, 180};
}

}  // namespace qx::test

#endif  // QX_TESTS_SUPPORT_PAINTED_HEAD_H
