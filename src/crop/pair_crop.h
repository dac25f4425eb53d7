#ifndef QX_CROP_PAIR_CROP_H
#define QX_CROP_PAIR_CROP_H

#include <cstdint>

#include "base/buffer.h"

namespace qx {

// The common crop of two faces.
struct PairCrop {
  int32_t cropWidth = 0, cropHeight = 0;
  ByteBuffer cropImage;  // cropWidth * cropHeight * 3
  ByteBuffer cropMask;   // cropWidth * cropHeight: 1 inside the photograph, 0 outside
  ByteBuffer fgMask;     // absent, or cropWidth * cropHeight
  ByteBuffer fgColour;   // absent, or cropWidth * cropHeight * 3

  bool HasCrop() const { return cropImage && cropMask; }
};

}  // namespace qx

#endif  // QX_CROP_PAIR_CROP_H
