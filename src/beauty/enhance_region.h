#ifndef QX_BEAUTY_ENHANCE_REGION_H
#define QX_BEAUTY_ENHANCE_REGION_H

#include <cstdint>

#include "base/point.h"

namespace qx {

// Sharpens an ellipse through the region's four points (the first two span its long axis, the others its cross axis)
// and blends it in with a soft edge and the factor, 0 to 1. Images are rows * columns * 3 bytes; the reference is what
// is sharpened, and is overwritten inside the region's rectangle. Input and output are distinct.
// Returns 1 when done, -1 for a null input, a negative size, a factor out of range, or when memory is short (the output
// is a copy of the input then).
int EnhanceRegion(uint8_t* reference, const uint8_t* input, int32_t columns, int32_t rows, const Point* region,
                  double factor, uint8_t* output);

}  // namespace qx

#endif  // QX_BEAUTY_ENHANCE_REGION_H
