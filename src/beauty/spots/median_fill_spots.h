#ifndef QX_BEAUTY_SPOTS_MEDIAN_FILL_SPOTS_H
#define QX_BEAUTY_SPOTS_MEDIAN_FILL_SPOTS_H

#include <cstdint>

#include "beauty/spots/spot_mask.h"

namespace qx {

// Copies the source and moves each marked pixel inside the spots' box by nine tenths toward the median of each channel
// in its square, kernelSize pixels wide (truncated, one more when even). Works in place and in raster order, so that
// filled pixels count in the squares of later ones. Pixels whose square has no colour stay, as do those whose square
// would leave the box. Images have three channels and the same size and are distinct. kOk, or kBadArgument with nothing
// copied for a null source or spots, a negative size, or a kernel size that is not 0 or more.
Status MedianFillSpots(const SpotMask* spots, const ImageView& source, double kernelSize, uint8_t* destination);

}  // namespace qx

#endif  // QX_BEAUTY_SPOTS_MEDIAN_FILL_SPOTS_H
