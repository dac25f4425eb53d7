#ifndef QX_BEAUTY_SKIN_SKIN_LAYER_H
#define QX_BEAUTY_SKIN_SKIN_LAYER_H

#include "base/buffer.h"
#include "base/image_view.h"
#include "base/status.h"

namespace qx {

// Smoothed skin to be blended over an image of the same size.
struct SkinLayer {
  ByteBuffer image;  // three bytes a pixel
  ByteBuffer mask;   // the weight of each pixel
};

// Brings an image of a quarter of the size, not empty and of three channels, to the size of `image`: each pixel becomes
// a block of 4 x 4 whose right and lower halves are means with the next pixels. The last row and column repeat.
void UpsampleLayer(const uint8_t* small, const MutableImage& image);

// Blends the layer over the source by its mask, scaled by strength / 2; 1 / 256 of the source or more always stays.
// Source and destination have three channels and the layer's size and are distinct. kOk, or kBadArgument with a copy of
// the source for an absent layer (null, or without image or mask), a strength outside 0 to 5, or a negative size.
Status BlendSkinLayer(const SkinLayer* layer, const ImageView& source, double strength, uint8_t* destination);

}  // namespace qx

#endif  // QX_BEAUTY_SKIN_SKIN_LAYER_H
