#ifndef QX_API_PAIR_BEAUTY_H
#define QX_API_PAIR_BEAUTY_H

#include <cstdint>

#include "api/result.h"

namespace qx {

// Puts the two faces' retouched crops (each its face's crop size, three bytes a pixel) into the common crop's geometry:
// black around them, and where they meet, the pixel of the face whose person mask is stronger, face 1's on a tie.
// canvas: the common crop's size, three bytes a pixel. Null: the common crop's own mask and colour image are allocated
// and filled in the same way from the faces' own; they stay absent when memory is short. Absent face buffers count as
// zeros. The result has a common crop and two faces.
void ComposePairBeauty(IDPResult* result, const uint8_t* crop0, const uint8_t* crop1, uint8_t* canvas);

}  // namespace qx

#endif  // QX_API_PAIR_BEAUTY_H
