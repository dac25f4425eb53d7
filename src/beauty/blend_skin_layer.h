#ifndef QX_BEAUTY_BLEND_SKIN_LAYER_H
#define QX_BEAUTY_BLEND_SKIN_LAYER_H

#include <cstdint>

#include "beauty/smooth_skin.h"

namespace qx {

// Blends the layer over the source by its mask, scaled by strength / 2; 1 / 256 of the source or more always stays.
// Images are width * height * 3 bytes; destination and source are distinct. Returns 1 when done, or -1 with a copy of
// the source for an absent layer (null, or without image or mask), a strength outside 0 to 5, or a negative size.
int BlendSkinLayer(const SkinLayer* layer, const uint8_t* source, int32_t width, int32_t height, double strength,
                   uint8_t* destination);

}  // namespace qx

#endif  // QX_BEAUTY_BLEND_SKIN_LAYER_H
