#ifndef QX_BEAUTY_SPOTS_SPOT_MASK_H
#define QX_BEAUTY_SPOTS_SPOT_MASK_H

#include <cstdint>

#include "base/buffer.h"
#include "base/image_view.h"
#include "base/status.h"
#include "face/landmark_set.h"

namespace qx {

// Blemishes of a face.
struct SpotMask {
  ByteBuffer mask;                                   // of the image: 255 on a pixel to fill, else 0
  int32_t top = 0, bottom = 0, left = 0, right = 0;  // the face box, wider than the detected one; half-open
};

// Marks small closed features of high contrast, such as spots and moles, inside the outline of the face or on the
// forehead, but not at the base of the nose and the corners of the mouth. image: of three channels; points: the 88 of
// the dense description. kOk; kBadArgument for a null image or landmark set or a negative size; kMemoryShort.
Status BuildSpotMask(const ImageView& image, const LandmarkSet* landmarks, const Point* points, SpotMask* spots);

}  // namespace qx

#endif  // QX_BEAUTY_SPOTS_SPOT_MASK_H
