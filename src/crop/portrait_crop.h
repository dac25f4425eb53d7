#ifndef QX_CROP_PORTRAIT_CROP_H
#define QX_CROP_PORTRAIT_CROP_H

#include "base/image_view.h"
#include "crop/crop_settings.h"
#include "face/face_record.h"

namespace qx {

// Frames a portrait around one face, turned upright by a quarter turn, scaled down to the width bound where that is in
// force, and renders it: fills the record's crop points, geometry, cropImage and cropMask from its source points.
// A crop of 2 GiB or more, or one for which memory is short, is left without images.
void CropPortrait(const ImageView& photograph, const CropSettings& settings, FaceRecord* face);

}  // namespace qx

#endif  // QX_CROP_PORTRAIT_CROP_H
