#ifndef QX_FACE_GREY_CONVERT_H
#define QX_FACE_GREY_CONVERT_H

#include <cstdint>

namespace qx {

// Luma by the weights of ITU-R BT.601, rounded half up: (299 R + 587 G + 114 B + 500) / 1000.
// bgr: rows * columns * 3 bytes; grey: rows * columns bytes. Rows or columns of 0 or below write nothing.
void GreyConvert(const uint8_t* bgr, int32_t rows, int32_t columns, uint8_t* grey);

}  // namespace qx

#endif  // QX_FACE_GREY_CONVERT_H
