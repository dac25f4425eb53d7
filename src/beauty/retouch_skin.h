#ifndef QX_BEAUTY_RETOUCH_SKIN_H
#define QX_BEAUTY_RETOUCH_SKIN_H

#include <cstdint>

#include "base/image_view.h"
#include "face/landmark_set.h"

namespace qx {

// Fills the blemishes of a face and then blends smoothed skin over it. image: three channels, retouched in
// place; work: as many, overwritten. strength: 0 to 5; beyond, and for a face too small, only the blemishes are filled.
// What memory is too short for is left out. The landmarks' face box is clamped into the image unless it is too small.
void RetouchSkin(const MutableImage& image, double strength, LandmarkSet* landmarks, uint8_t* work);

}  // namespace qx

#endif  // QX_BEAUTY_RETOUCH_SKIN_H
