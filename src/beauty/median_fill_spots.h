#ifndef QX_BEAUTY_MEDIAN_FILL_SPOTS_H
#define QX_BEAUTY_MEDIAN_FILL_SPOTS_H

#include <cstdint>

#include "beauty/spot_mask.h"

namespace qx {

// Copies the source and moves each marked pixel inside the spots' box by nine tenths toward the median of each channel
// in its square, kernelSize pixels wide (truncated, one more when even). Works in place and in raster order, so that
// filled pixels count in the squares of later ones. Pixels whose square has no colour stay, as do those whose square
// would leave the box. Images are rows * columns * 3 bytes and distinct. Returns 1, or -1 with nothing copied for a
// null source or spots, a negative size, or a kernel size that is not 0 or more.
int MedianFillSpots(const SpotMask* spots, const uint8_t* source, int32_t rows, int32_t columns, double kernelSize,
                    uint8_t* destination);

}  // namespace qx

#endif  // QX_BEAUTY_MEDIAN_FILL_SPOTS_H
