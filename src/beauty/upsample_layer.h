#ifndef QX_BEAUTY_UPSAMPLE_LAYER_H
#define QX_BEAUTY_UPSAMPLE_LAYER_H

#include <cstdint>

namespace qx {

// Brings an image of (width / 4) * (height / 4) * 3 bytes, not empty, to width * height: each pixel becomes a block of
// 4 x 4 whose right and lower halves are means with the next pixels. The last row and column repeat.
void UpsampleLayer(const uint8_t* small, int32_t width, int32_t height, uint8_t* image);

}  // namespace qx

#endif  // QX_BEAUTY_UPSAMPLE_LAYER_H
