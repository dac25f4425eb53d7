// Which pixels of a photograph show the person, and to what part.
#ifndef QX_PHOTO_PERSON_MASK_H
#define QX_PHOTO_PERSON_MASK_H

#include <cstdint>
#include <vector>

#include "photo/base/geometry.h"
#include "photo/base/image.h"
#include "photo/person/network.h"

namespace qx::photo {

// Makes masks, one photograph at a time. An instance belongs to one thread at a time.
class PersonSegmenter {
 public:
  // The mask of one or several persons, their faces given, in an upright photograph. Other persons, whose faces are
  // `others`, and whatever hangs together with none of the persons' heads become background.
  // The time grows with the pixels only where the outline passes; the memory beyond the result does not grow above
  // 2 megapixels. The same input always gives the same mask. Throws Failure when there is no face or no person.
  Mask Segment(const Image& photograph, const std::vector<FaceBox>& persons, const std::vector<FaceBox>& others = {});

 private:
  PersonNetwork network_;
};

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_MASK_H
