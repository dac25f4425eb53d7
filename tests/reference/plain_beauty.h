// The beauty stages taken literally, every value computed where it is used. The library's ways to the same bytes are
// held against these, and timed beside them.
#ifndef QX_TESTS_REFERENCE_PLAIN_BEAUTY_H
#define QX_TESTS_REFERENCE_PLAIN_BEAUTY_H

#include <cstddef>
#include <cstdint>

#include "beauty/shape/contour_mesh.h"

namespace qx::test {

// Strength: 1 or more.
void PlainTone(const uint8_t* image, size_t pixels, int32_t strength, uint8_t* out);

struct PlainLens {
  int32_t centreX, centreY;
  float amount, radius;
  bool magnify;
};
void PlainLensWarp(const uint8_t* image, int32_t width, int32_t height, const PlainLens& lens, uint8_t* out);

// channels: 1 or 3. Warps every rowStep-th row only; the others are copies.
void PlainContourWarp(const ContourMesh& mesh, const uint8_t* image, int32_t width, int32_t height, int32_t channels,
                      uint8_t* out, int32_t rowStep = 1);

// With sums over the clipped squares of 17 x 17: cumulative down the columns, then along the rows.
void PlainBoost(const uint8_t* patch, int32_t width, int32_t height, uint8_t* out);

}  // namespace qx::test

#endif  // QX_TESTS_REFERENCE_PLAIN_BEAUTY_H
