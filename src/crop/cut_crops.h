#ifndef QX_CROP_CUT_CROPS_H
#define QX_CROP_CUT_CROPS_H

#include <memory>

#include "base/image_view.h"
#include "base/status.h"
#include "crop/crop_settings.h"
#include "crop/pair_crop.h"
#include "face/face_record.h"
#include "face/find_faces.h"

namespace qx {

// Both cut the crops of faces that FindFaces found in the same photograph; a record is made for each of them. Who wants
// one person's portrait only starts a record from one found face and calls CropPortrait on it.

// One portrait for each face, in their order. kOk or kMemoryShort, which leaves `records` null; a portrait for which
// memory is short, or of 2 GiB or more, is left without images in its record.
Status CutPortraits(const ImageView& photograph, const CropSettings& settings, const FoundFaces& found,
                    std::unique_ptr<FaceRecord[]>* records);

// One crop of exactly two faces, whose records come in their order along it. kOk; kTurnsDiffer; kMemoryShort. Both outs
// are null but for kOk; images that there is no memory for are absent as in CropPair.
Status CutPair(const ImageView& photograph, const CropSettings& settings, const FoundFaces& found,
               std::unique_ptr<FaceRecord[]>* records, std::unique_ptr<PairCrop>* pair);

}  // namespace qx

#endif  // QX_CROP_CUT_CROPS_H
