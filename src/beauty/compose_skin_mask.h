#ifndef QX_BEAUTY_COMPOSE_SKIN_MASK_H
#define QX_BEAUTY_COMPOSE_SKIN_MASK_H

#include <cstdint>

#include "base/point.h"
#include "beauty/skin_box.h"

namespace qx {

// Raises the mask to score * region / 255 in the box where the region is not 0, never below 1 there; weaker for a face
// whose side from corner 0 to corner 1 is shorter than 35 pixels. Mask, region and score are planes of `width` columns,
// and the box lies in them.
void ComposeSkinMask(uint8_t* mask, Point corner0, Point corner1, const SkinBox& box, const uint8_t* region,
                     int32_t width, const uint8_t* score);

}  // namespace qx

#endif  // QX_BEAUTY_COMPOSE_SKIN_MASK_H
