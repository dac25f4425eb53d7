// The hair around the persons' heads, as far as the background lets it be seen.
#ifndef QX_PHOTO_PERSON_HAIR_MAP_H
#define QX_PHOTO_PERSON_HAIR_MAP_H

#include <vector>

#include "photo/base/geometry.h"
#include "photo/base/image.h"

namespace qx::photo {

// How much of the hair's outline is a guess: shares from 0 to 1 on the picture's left and right side of the heads and
// above them.
struct OutlineDoubt {
  float left = 0, right = 0, above = 0;
  bool lively = false;  // for the background holds too much; otherwise it has the colour of the hair
};

// A part of the photograph at the size at which its hair was followed.
struct HairMap {
  Rectangle window;            // the part, in pixels of the overview in which the persons were found
  Image colours;               // the part as it looks
  Mask alpha;                  // the persons' share of each pixel
  std::vector<FaceBox> faces;  // in pixels of the part
  double faceWidth = 0;        // of the widest
  OutlineDoubt doubt;
};

// Writes the map's alpha into the mask of a picture that shows `window` of the same overview, as far as the zone of
// hair reaches. Where the two differ in size: a line of alpha over the colours in 3 x 3 pixels of the map, interpolated
// between them, and never beyond the least and the greatest alpha there (K. He, J. Sun, "Fast Guided Filter", 2015).
void LayHair(const HairMap& hair, const Image& picture, const Rectangle& window, Mask* mask);

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_HAIR_MAP_H
