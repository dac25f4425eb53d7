// Masks of persons out of pictures.
#ifndef QX_CODEC_MASK_H
#define QX_CODEC_MASK_H

#include <cstdint>

#include "photo/base/image.h"

namespace qx::codec {

// Throws Failure (kBadMask) when a mask of that size does not fit an upright photograph of width x height pixels.
void CheckMaskSize(int32_t maskWidth, int32_t maskHeight, int32_t width, int32_t height);

// As ReadMask, of a picture and its opacity, both of one size. Throws Failure (kBadMask).
photo::Mask MaskOf(const photo::Image& image, photo::Mask opacity);

}  // namespace qx::codec

#endif  // QX_CODEC_MASK_H
