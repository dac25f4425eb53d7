#ifndef QX_BEAUTY_LENS_WARP_H
#define QX_BEAUTY_LENS_WARP_H

#include <cstdint>

#include "base/point.h"

namespace qx {

// How a region is warped: the eyes by their proportions and openness, the mouth by its width alone.
enum class LensMode { kLeftEye = 0, kRightEye = 1, kMouth = 2 };

// Magnifies (direction 1) or shrinks (direction 0) a round area between the first two of the region's four points, by
// moving each pixel along its radius as light that a Gaussian bump of water refracts. Images are rows * columns * 3
// bytes and distinct. A pixel whose source lies outside the image becomes black; one whose source is no number stays.
// Returns 1 when done (also when nothing moved), -1 for a null image or a negative size, and -3 for another direction
// at the first pixel that would move.
int LensWarp(const uint8_t* source, int32_t columns, int32_t rows, const Point* region, int32_t regionValue,
             int32_t direction, double strength, LensMode mode, uint8_t* destination);

}  // namespace qx

#endif  // QX_BEAUTY_LENS_WARP_H
