#ifndef QX_CROP_PAIR_CROP_H
#define QX_CROP_PAIR_CROP_H

#include <cstdint>

#include "base/buffer.h"
#include "base/image_view.h"
#include "base/status.h"
#include "crop/crop_settings.h"
#include "face/face_record.h"
#include "qx_idp.h"

namespace qx {

// Where a face's own crop lies in the common crop: right and bottom are exclusive.
struct PairBox {
  int32_t left = 0, top = 0, right = 0, bottom = 0;
};

// The common crop of two faces, face 0 first along its x axis.
struct PairCrop {
  double scale = 0;             // source pixels in a crop pixel
  double refX = 0, refY = 0;    // centre of face 0 in this crop
  double ref1X = 0, ref1Y = 0;  // centre of face 1 in this crop
  PairBox boxes[2];             // the faces' own crops
  int32_t cropWidth = 0, cropHeight = 0;
  double rotCos = 0, rotSin = 0;  // quarter turn of both faces
  ByteBuffer cropImage;           // cropWidth * cropHeight * 3
  ByteBuffer cropMask;            // cropWidth * cropHeight: 1 inside the photograph, 0 outside
  BeautyParams beauty[2] = {};    // each face's strengths, as last set by a beauty call
  ByteBuffer fgMask;              // absent, or cropWidth * cropHeight
  ByteBuffer fgColour;            // absent, or cropWidth * cropHeight * 3

  bool HasCrop() const { return cropImage && cropMask; }
};

// Frames two described faces in one common crop at one scale and quarter turn, renders it, and cuts each face's own
// crop out of it. Puts the faces in order along the crop's x axis. kOk, or kTurnsDiffer when the faces do not share a
// quarter turn; nothing but their framing is written then. A crop of 2 GiB or more, or one for which memory is short,
// is left without images.
Status CropPair(const ImageView& photograph, const CropSettings& settings, FaceRecord* faces, PairCrop* pair);

}  // namespace qx

#endif  // QX_CROP_PAIR_CROP_H
