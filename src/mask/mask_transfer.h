#ifndef QX_MASK_MASK_TRANSFER_H
#define QX_MASK_MASK_TRANSFER_H

#include <cstdint>

#include "base/image_view.h"
#include "face/face_record.h"

namespace qx {

// Allocates the face's fgMask and fgColour, zero-filled, where they are absent. False when memory is short; the face
// has both or neither then.
bool ReserveForeground(FaceRecord* face);

// Fills the face's fgMask and fgColour, which are present, from a mask and a colour image of the photograph, of the
// same size. 0 where a crop pixel falls outside the photograph. False when memory is short; nothing is written then.
bool MaskToCrop(const ImageView& mask, const ImageView& colour, FaceRecord* face);

// Carries a mask and a colour image of the face's crop into the photograph's geometry, 0 outside the crop. Both outputs
// are of the photograph's size; either may be without pixels. Not the inverse of MaskToCrop for a turned crop: this
// direction subtracts the origin before it turns, the other adds it before it turns. False when memory is short.
bool MapCropToSource(const FaceRecord& face, const uint8_t* cropMask, const uint8_t* cropImage,
                     const MutableImage& mask, const MutableImage& image);

}  // namespace qx

#endif  // QX_MASK_MASK_TRANSFER_H
