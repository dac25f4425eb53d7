// The surroundings of the persons' heads, at the size at which hair is followed.
#ifndef QX_PHOTO_PERSON_HEAD_CROP_H
#define QX_PHOTO_PERSON_HEAD_CROP_H

#include <optional>
#include <vector>

#include "photo/base/geometry.h"
#include "photo/base/image.h"
#include "photo/person/mask.h"
#include "photo/person/region.h"

namespace qx::photo {

// Lengths and faces in pixels of the crop. A face is at most 220 of them wide.
struct HeadCrop {
  Rectangle window;  // what it shows, in pixels of the overview in which the persons were found
  Image colours;
  Mask mask;                           // the persons', by the map
  Distances depth;                     // of each pixel inside that mask's outline, negative outside, see SignedDistance
  std::vector<FaceBox> faces, others;  // from left to right
  double faceWidth = 0;                // of the widest face

  static float Depth(int16_t distance) { return static_cast<float>(distance) * (1.0f / kDistanceUnit); }
  float Depth(size_t i) const { return Depth(depth[i]); }
};

// How much each pixel of a crop's row is of the zone where hair is, from 1 around the heads to 0 at the bodies. The
// faces come from left to right.
void HairZone(const std::vector<FaceBox>& faces, double faceWidth, int y, int width, float* zone);

// The crop around the faces (in pixels of the overview) of a picture that shows `window` of it. Nothing where none of
// that is in the picture, or the faces are too small for strands of hair to be seen.
std::optional<HeadCrop> CropHeads(const PersonMap& map, const Image& picture, const Rectangle& window,
                                  const std::vector<FaceBox>& faces, const std::vector<FaceBox>& others);

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_HEAD_CROP_H
