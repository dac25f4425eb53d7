#include "photo/render/oklab.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>

namespace qx::photo {
namespace {

constexpr size_t kSteps = 4096;  // of linear light, between which levels are interpolated: within 0.005 of a level

// By Newton's method, which comes down from 1 without stepping over the root.
double FifthRoot(double value) {
  double root = 1;
  for (int i = 0; i < 60; ++i) {
    const double fourth = root * root * root * root;
    root -= (fourth * root - value) / (5 * fourth);
  }
  return root;
}

std::array<double, 256> MakeLinear() {
  std::array<double, 256> linear{};
  for (size_t i = 1; i < linear.size(); ++i) {
    const double c = static_cast<double>(i) / 255, base = (c + 0.055) / 1.055;
    linear[i] = c <= 0.04045 ? c / 12.92 : base * base * FifthRoot(base * base);
  }
  return linear;
}

std::array<double, kSteps + 1> MakeLevels() {
  std::array<double, kSteps + 1> levels{};
  for (size_t i = 1; i <= kSteps; ++i) {
    const double c = static_cast<double>(i) / kSteps, root = std::sqrt(std::sqrt(CubeRoot(c)));
    levels[i] = 255 * (c <= 0.0031308 ? 12.92 * c : 1.055 * (root * root * root * root * root) - 0.055);
  }
  levels[kSteps] = 255;
  return levels;
}

double Cube(double value) {
  return value * value * value;
}

}  // namespace

double CubeRoot(double value) {
  if (!(value > 0)) return 0;
  // A third of the exponent, then Halley's method.
  uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  bits = bits / 3 + 0x2a9f7893782da1ceu;
  double root = 0;
  std::memcpy(&root, &bits, sizeof root);
  for (int i = 0; i < 2; ++i) {
    const double cube = Cube(root);
    root *= (cube + 2 * value) / (2 * cube + value);
  }
  return root;
}

double LinearOf(uint8_t level) {
  static const std::array<double, 256> linear = MakeLinear();
  return linear[level];
}

double LevelOf(double linear) {
  static const std::array<double, kSteps + 1> levels = MakeLevels();
  const double place = std::clamp(linear, 0.0, 1.0) * kSteps;
  const size_t lower = std::min(static_cast<size_t>(place), kSteps - 1);
  return levels[lower] + (levels[lower + 1] - levels[lower]) * (place - static_cast<double>(lower));
}

Cones ConesOf(const LinearColour& c) {
  return {0.4122214708 * c.red + 0.5363325363 * c.green + 0.0514459929 * c.blue,
          0.2119034982 * c.red + 0.6806995451 * c.green + 0.1073969566 * c.blue,
          0.0883024619 * c.red + 0.2817188376 * c.green + 0.6299787005 * c.blue};
}

LinearColour ColourOf(const Cones& c) {
  return {-0.0041960863 * c.l - 0.7034186147 * c.m + 1.7076147010 * c.s,
          -1.2684380046 * c.l + 2.6097574011 * c.m - 0.3413193965 * c.s,
          4.0767416621 * c.l - 3.3077115913 * c.m + 0.2309699292 * c.s};
}

Oklab OklabOf(const Cones& cones) {
  return OklabOfRoots({CubeRoot(cones.l), CubeRoot(cones.m), CubeRoot(cones.s)});
}

Oklab OklabOfRoots(const Cones& roots) {
  const auto [l, m, s] = roots;
  return {0.2104542553 * l + 0.7936177850 * m - 0.0040720468 * s,
          1.9779984951 * l - 2.4285922050 * m + 0.4505937099 * s,
          0.0259040371 * l + 0.7827717662 * m - 0.8086757660 * s};
}

Cones ConesOf(const Oklab& c) {
  return {Cube(c.l + 0.3963377774 * c.a + 0.2158037573 * c.b), Cube(c.l - 0.1055613458 * c.a - 0.0638541728 * c.b),
          Cube(c.l - 0.0894841775 * c.a - 1.2914855480 * c.b)};
}

double LuminanceOf(const LinearColour& c) {
  return 0.2126 * c.red + 0.7152 * c.green + 0.0722 * c.blue;
}

}  // namespace qx::photo
