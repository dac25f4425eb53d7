#ifndef QX_BEAUTY_CONTOUR_WARP_H
#define QX_BEAUTY_CONTOUR_WARP_H

#include <cstdint>

#include "base/point.h"

namespace qx {

// Pulls two points of the face outline on each side toward the axis through two further landmarks and carries the image
// and the mask along by a piecewise-affine map over twelve triangles. points: the 88 of the dense description;
// strength: -5 to 5, larger values count as those. Images are rows * columns * 3 bytes, masks rows * columns; both
// masks may be null, and inputs and outputs are distinct. What no triangle covers keeps its value.
// Returns 1 when done (also when nothing moved), -1 for a null image, an empty size, or an outline point on the axis.
int ContourWarp(const uint8_t* image, const uint8_t* mask, int32_t columns, int32_t rows, const Point* points,
                double strength, uint8_t* imageOut, uint8_t* maskOut);

}  // namespace qx

#endif  // QX_BEAUTY_CONTOUR_WARP_H
