#ifndef QX_FACE_GREY_CONVERT_H
#define QX_FACE_GREY_CONVERT_H

#include <cstdint>

namespace qx {

// Luma of one pixel of three bytes (blue, green, red) by the weights of ITU-R BT.601, rounded half up.
inline uint8_t GreyOf(const uint8_t* bgr) {
  return static_cast<uint8_t>((299u * bgr[2] + 587u * bgr[1] + 114u * bgr[0] + 500u) / 1000u);
}

// The same for a whole image.
// bgr: rows * columns * 3 bytes; grey: rows * columns bytes. Rows or columns of 0 or below write nothing.
void GreyConvert(const uint8_t* bgr, int32_t rows, int32_t columns, uint8_t* grey);

}  // namespace qx

#endif  // QX_FACE_GREY_CONVERT_H
