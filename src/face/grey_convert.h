#ifndef QX_FACE_GREY_CONVERT_H
#define QX_FACE_GREY_CONVERT_H

#include <cstdint>

#include "base/image_view.h"
#include "kernels/kernels.h"

namespace qx {

// Luma of one pixel of three bytes (blue, green, red) by the weights of ITU-R BT.601, rounded half up.
inline uint8_t GreyOf(const uint8_t* bgr) {
  return static_cast<uint8_t>((299u * bgr[2] + 587u * bgr[1] + 114u * bgr[0] + 500u) / 1000u);
}

// The same for an image of three channels; grey takes one byte a pixel. Rows have no gap, so it is one run of pixels.
inline void GreyConvert(const ImageView& image, uint8_t* grey) {
  ActiveKernels().greyRow(image.pixels, static_cast<size_t>(image.Pixels()), grey);
}

}  // namespace qx

#endif  // QX_FACE_GREY_CONVERT_H
