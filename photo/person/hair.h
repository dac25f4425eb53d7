// Strands of hair around the outline of a mask.
#ifndef QX_PHOTO_PERSON_HAIR_H
#define QX_PHOTO_PERSON_HAIR_H

#include <vector>

#include "photo/base/geometry.h"
#include "photo/base/image.h"

namespace qx::photo {

// How much of the outline of the hair is a guess, since hair and background have the same colour there, or the
// background has so much structure that hair cannot be told from it: shares from 0 to 1 on the picture's left, right
// and above.
struct OutlineDoubt {
  float left = 0, right = 0, above = 0;
};

struct HairMask {
  Mask mask;  // of the picture's size
  OutlineDoubt doubt;
};

// Gives the mask of a picture the strands of hair, and the gaps between them, that the background lets be seen. Before
// a plain, shadowed or blurred background its colours are known up to the hair and behind it, so that a pixel's share
// of hair follows from its colours alone; where they are not known the mask stays as it is, as it does at bodies.
// `mask`: of the picture's size; `faces`: of the mask's persons, in pixels of the picture, may reach outside. The time
// grows with the pixels of the outline's surroundings. The same input gives the same mask on every machine.
HairMask FollowHair(const Image& picture, Mask mask, const std::vector<FaceBox>& faces);

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_HAIR_H
