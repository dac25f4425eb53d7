#include "photo/person/guided_filter.h"

namespace qx::photo {
namespace {

// Sums over a window: guide (3), the guide's products (6: 00 01 02 11 12 22), map, map times guide (3).
constexpr int kMoments = 13;

void FillMoments(const float* guide, float map, float* moments) {
  for (int i = 0; i < 3; ++i) *moments++ = guide[i];
  for (int i = 0; i < 3; ++i) {
    for (int j = i; j < 3; ++j) *moments++ = guide[i] * guide[j];
  }
  *moments++ = map;
  for (int i = 0; i < 3; ++i) *moments++ = guide[i] * map;
}

// The line that fits best: (covariance of the guide + epsilon) a = covariance of guide and map, by Cramer's rule.
void FitLine(const float* m, double epsilon, float* line) {
  const double g0 = m[0], g1 = m[1], g2 = m[2], p = m[9];
  const double s00 = m[3] - g0 * g0 + epsilon, s01 = m[4] - g0 * g1, s02 = m[5] - g0 * g2;
  const double s11 = m[6] - g1 * g1 + epsilon, s12 = m[7] - g1 * g2, s22 = m[8] - g2 * g2 + epsilon;
  const double c0 = m[10] - g0 * p, c1 = m[11] - g1 * p, c2 = m[12] - g2 * p;
  const double i00 = s11 * s22 - s12 * s12, i01 = s02 * s12 - s01 * s22, i02 = s01 * s12 - s02 * s11;
  const double i11 = s00 * s22 - s02 * s02, i12 = s01 * s02 - s00 * s12, i22 = s00 * s11 - s01 * s01;
  const double determinant = s00 * i00 + s01 * i01 + s02 * i02;
  const double a0 = (i00 * c0 + i01 * c1 + i02 * c2) / determinant;
  const double a1 = (i01 * c0 + i11 * c1 + i12 * c2) / determinant;
  const double a2 = (i02 * c0 + i12 * c1 + i22 * c2) / determinant;
  line[0] = static_cast<float>(a0);
  line[1] = static_cast<float>(a1);
  line[2] = static_cast<float>(a2);
  line[3] = static_cast<float>(p - a0 * g0 - a1 * g1 - a2 * g2);
}

}  // namespace

Raster GuidedFilterCoefficients(const Raster& guide, const Raster& map, int radius, double epsilon) {
  Raster moments(guide.width, guide.height, kMoments);
  const size_t pixels = map.values.size();
  for (size_t i = 0; i < pixels; ++i) {
    FillMoments(guide.values.data() + 3 * i, map.values[i], moments.values.data() + kMoments * i);
  }
  moments = BoxMean(moments, radius);
  Raster lines(guide.width, guide.height, 4);
  for (size_t i = 0; i < pixels; ++i) {
    FitLine(moments.values.data() + kMoments * i, epsilon, lines.values.data() + 4 * i);
  }
  return BoxMean(lines, radius);
}

}  // namespace qx::photo
