#ifndef QX_BEAUTY_RETOUCH_SKIN_H
#define QX_BEAUTY_RETOUCH_SKIN_H

#include <cstdint>

#include "beauty/landmark_set.h"

namespace qx {

// Fills the blemishes of a face and then blends smoothed skin over it. image: rows * columns * 3 bytes, retouched in
// place; work: as many, overwritten. strength: 0 to 5; beyond, and for a face too small, only the blemishes are filled.
// What memory is too short for is left out. The landmarks' face box is clamped into the image unless it is too small.
void RetouchSkin(int32_t rows, int32_t columns, double strength, LandmarkSet* landmarks, uint8_t* image, uint8_t* work);

}  // namespace qx

#endif  // QX_BEAUTY_RETOUCH_SKIN_H
