#ifndef QX_BEAUTY_DETAIL_ENHANCE_REGION_H
#define QX_BEAUTY_DETAIL_ENHANCE_REGION_H

#include <cstdint>

#include "base/image_view.h"
#include "base/point.h"
#include "base/status.h"

namespace qx {

// Sharpens an ellipse through the region's four points (the first two span its long axis, the others its cross axis)
// and blends it in with a soft edge and the factor, 0 to 1. The images have three channels and the same size; the
// reference is what is sharpened, and is overwritten inside the region's rectangle. Input and output are distinct.
// kOk; kBadArgument for a null input, a negative size or a factor out of range; kMemoryShort (the output is a copy of
// the input then).
Status EnhanceRegion(uint8_t* reference, const ImageView& input, const Point* region, double factor, uint8_t* output);

}  // namespace qx

#endif  // QX_BEAUTY_DETAIL_ENHANCE_REGION_H
