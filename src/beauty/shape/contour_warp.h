#ifndef QX_BEAUTY_SHAPE_CONTOUR_WARP_H
#define QX_BEAUTY_SHAPE_CONTOUR_WARP_H

#include <cstdint>

#include "base/image_view.h"
#include "base/point.h"
#include "base/status.h"

namespace qx {

// Pulls two points of the face outline on each side toward the axis through two further landmarks and carries the image
// and the mask along by a piecewise-affine map over twelve triangles. points: the 88 of the dense description;
// strength: -5 to 5, larger values count as those. Images have three channels and masks one, all the same size; both
// masks may be null, and inputs and outputs are distinct. What no triangle covers keeps its value.
// kOk, also when nothing moved; kBadArgument for a null image, an empty size, or an outline point on the axis.
Status ContourWarp(const ImageView& image, const uint8_t* mask, const Point* points, double strength, uint8_t* imageOut,
                   uint8_t* maskOut);

}  // namespace qx

#endif  // QX_BEAUTY_SHAPE_CONTOUR_WARP_H
