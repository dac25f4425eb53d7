#ifndef QX_CROP_FINE_CROP_H
#define QX_CROP_FINE_CROP_H

#include "crop/pair_crop.h"
#include "face/face_record.h"
#include "qx_idp.h"

namespace qx {

// Finds the rectangle of the finished photograph in the crop of one face, which has a person mask. False when none
// meets the bounds; `rect` stays as it is then.
bool FineCropSingle(const FaceRecord& face, const FineCropParams& params, CropRect* rect);

// The same in the common crop of two faces, both with a person mask, at fixed proportions of 3:2.
bool FineCropPair(const FaceRecord* faces, const PairCrop& pair, CropRect* rect);

}  // namespace qx

#endif  // QX_CROP_FINE_CROP_H
