#ifndef QX_MASK_MASK_TRANSFER_H
#define QX_MASK_MASK_TRANSFER_H

#include <cstdint>

#include "face/face_record.h"

namespace qx {

// Allocates the face's fgMask and fgColour, zero-filled, where they are absent. False when memory is short; the face
// has both or neither then.
bool ReserveForeground(FaceRecord* face);

// Fills the face's fgMask and fgColour, which are present, from a mask and a colour image of the photograph:
// srcWidth * srcHeight bytes and three times as many. 0 where a crop pixel falls outside the photograph.
// False when memory is short; nothing is written then.
bool MaskToCrop(const uint8_t* mask, const uint8_t* colour, int32_t srcWidth, int32_t srcHeight, FaceRecord* face);

// Carries a mask and a colour image of the face's crop into the photograph's geometry, 0 outside the crop. Either pair
// of input and output may be null. Not the inverse of MaskToCrop for a turned crop: this direction subtracts the
// origin before it turns, the other adds it before it turns. False when memory is short.
bool MapCropToSource(const FaceRecord& face, int32_t srcHeight, int32_t srcWidth, const uint8_t* cropMask,
                     const uint8_t* cropImage, uint8_t* mask, uint8_t* image);

}  // namespace qx

#endif  // QX_MASK_MASK_TRANSFER_H
