#include "photo/check/colour.h"

#include <cmath>
#include <cstddef>

#include "base/exact_math.h"

namespace qx::photo {
namespace {

const std::array<double, 256>& LinearTable() {
  static const std::array<double, 256> table = [] {
    std::array<double, 256> values{};
    for (size_t i = 0; i < values.size(); ++i) values[i] = LinearLight(static_cast<double>(i));
    return values;
  }();
  return table;
}

// The cube root, continued by a straight line towards black (CIE 15).
double Lightness(double share) {
  constexpr double kDark = 216.0 / 24389, kSlope = 24389.0 / 27;
  return share > kDark ? exact::Cbrt(share) : (kSlope * share + 16) / 116;
}

// Of linear light.
Lab LabOf(double blue, double green, double red) {
  const double x = (0.43605 * red + 0.38508 * green + 0.14309 * blue) / 0.964221;
  const double y = 0.22249 * red + 0.71689 * green + 0.06062 * blue;
  const double z = (0.01393 * red + 0.09710 * green + 0.71419 * blue) / 0.825211;
  const double fx = Lightness(x), fy = Lightness(y), fz = Lightness(z);
  return {116 * fy - 16, 500 * (fx - fy), 200 * (fy - fz)};
}

}  // namespace

double Distance(const Lab& from, const Lab& to) {
  const double l = from.l - to.l, a = from.a - to.a, b = from.b - to.b;
  return std::sqrt(l * l + a * a + b * b);
}

double LinearLight(double value) {
  const double c = value / 255;
  return c <= 0.04045 ? c / 12.92 : exact::Pow((c + 0.055) / 1.055, 2.4);
}

uint8_t Luminance(const uint8_t* bgr) {
  const auto& linear = LinearTable();
  return static_cast<uint8_t>(255 * (0.2126 * linear[bgr[2]] + 0.7152 * linear[bgr[1]] + 0.0722 * linear[bgr[0]]) +
                              0.5);
}

double Luma(const uint8_t* bgr) {
  return 0.299 * bgr[2] + 0.587 * bgr[1] + 0.114 * bgr[0];
}

Lab ToLab(const std::array<double, 3>& bgr) {
  return LabOf(LinearLight(bgr[0]), LinearLight(bgr[1]), LinearLight(bgr[2]));
}

Lab ToLab(const uint8_t* bgr) {
  const auto& linear = LinearTable();
  return LabOf(linear[bgr[0]], linear[bgr[1]], linear[bgr[2]]);
}

}  // namespace qx::photo
