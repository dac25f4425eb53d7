// The surroundings of the persons' heads, at the size at which hair is followed.
#ifndef QX_PHOTO_PERSON_HEAD_CROP_H
#define QX_PHOTO_PERSON_HEAD_CROP_H

#include <vector>

#include "photo/base/geometry.h"
#include "photo/base/image.h"
#include "photo/person/region.h"

namespace qx::photo {

// Lengths and faces in pixels of the crop. A face is at most 250 of them wide.
struct HeadCrop {
  PixelBox box;     // what it shows of the picture
  Image colours;    // reduced, or as they are in the picture
  Mask mask;        // the persons', as found so far
  Distances depth;  // of each pixel inside that mask's outline, negative outside, see SignedDistance
  std::vector<FaceBox> faces;
  double faceWidth = 0;  // of the widest face

  // How much each pixel of a row is of the zone where hair is, from 1 around the heads to 0 at the bodies.
  void HairZone(int y, float* zone) const;
  static float Depth(int16_t distance) { return static_cast<float>(distance) * (1.0f / kDistanceUnit); }
  float Depth(size_t i) const { return Depth(depth[i]); }
};

// The crop of a picture around its faces (in the picture's pixels). Nothing where no head is in the picture or the
// faces are too small for strands of hair to be seen.
bool CropHeads(const Image& picture, const Mask& mask, const std::vector<FaceBox>& faces, HeadCrop* crop);

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_HEAD_CROP_H
