#ifndef QX_BEAUTY_SHAPE_LENS_WARP_H
#define QX_BEAUTY_SHAPE_LENS_WARP_H

#include <cstdint>

#include "base/image_view.h"
#include "base/point.h"
#include "base/status.h"
#include "face/landmark_set.h"

namespace qx {

// Magnifies (direction 1) or shrinks (direction 0) a round area between the first two of the region's four points, by
// moving each pixel along its radius as light that a Gaussian bump of water refracts: an eye by its proportions and how
// far it is open (regionValue), the mouth by its width alone. The images have three channels, the same size, and are
// distinct. A pixel whose source lies outside the image becomes black; one whose source is no number stays.
// kOk, also when nothing moved; kBadArgument for a null image or a negative size; kBadDirection at the first pixel that
// would move.
Status LensWarp(const ImageView& source, FaceRegion region, const Point* points, int32_t regionValue, int32_t direction,
                double strength, uint8_t* destination);

}  // namespace qx

#endif  // QX_BEAUTY_SHAPE_LENS_WARP_H
