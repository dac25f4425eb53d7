// How far colours are apart, and a colour as a mixture of two others.
#ifndef QX_PHOTO_PERSON_COLOUR_FIT_H
#define QX_PHOTO_PERSON_COLOUR_FIT_H

#include <algorithm>
#include <array>
#include <cstddef>

#include "photo/person/pyramid.h"

namespace qx::photo {

// Of the three colours.
inline float MeanSquare(Pixel p) {
  const Pixel q = p * p;
  return (q[0] + q[1] + q[2]) * (1.0f / 3);
}

inline float Dot(Pixel a, Pixel b) {
  const Pixel q = a * b;
  return (q[0] + q[1] + q[2]) * (1.0f / 3);
}

// How much of a colour is the far one of two, 0 to 1, and the squares of what is left over and of their difference.
struct Fit {
  float alpha, residual, contrast;
};

// `from` and `difference`: from the near colour to the one that is asked about, and to the far one.
inline Fit FitBetween(Pixel from, Pixel difference) {
  Fit fit;
  fit.contrast = MeanSquare(difference);
  fit.alpha = std::clamp(Dot(from, difference) / (fit.contrast + 1e-6f), 0.0f, 1.0f);
  fit.residual = MeanSquare(from - fit.alpha * difference);
  return fit;
}

// One value for each rival: the far colours that are tried side by side.
using Rivals = Pixel;
constexpr size_t kRivals = sizeof(Rivals) / sizeof(float);

struct Fits {
  Rivals alpha, residual, contrast;
};

inline std::array<Rivals, 3> Differences(const std::array<Rivals, 3>& rivals, Pixel from) {
  return {rivals[0] - from[0], rivals[1] - from[1], rivals[2] - from[2]};
}

inline Rivals MeanSquares(const std::array<Rivals, 3>& p) {
  return (p[0] * p[0] + p[1] * p[1] + p[2] * p[2]) * (1.0f / 3);
}

// The same for each rival as the far colour; `behind` is the near one.
inline Fits FitBetween(Pixel from, const std::array<Rivals, 3>& rivals, Pixel behind) {
  const std::array<Rivals, 3> to = Differences(rivals, behind);
  Fits fits;
  fits.contrast = MeanSquares(to);
  const Rivals dot = (from[0] * to[0] + from[1] * to[1] + from[2] * to[2]) * (1.0f / 3);
  const Rivals alpha = dot / (fits.contrast + 1e-6f), none{}, all = none + 1;
  fits.alpha = alpha < none ? none : alpha > all ? all : alpha;
  fits.residual =
      MeanSquares({from[0] - fits.alpha * to[0], from[1] - fits.alpha * to[1], from[2] - fits.alpha * to[2]});
  return fits;
}

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_COLOUR_FIT_H
