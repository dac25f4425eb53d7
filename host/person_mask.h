// Which pixels of a photograph show the person, and to what part.
#ifndef QX_HOST_PERSON_MASK_H
#define QX_HOST_PERSON_MASK_H

#include <cstdint>
#include <filesystem>
#include <vector>

#include "host/image_file.h"
#include "host/person_network.h"

namespace qx::host {

// Where a face lies in an upright photograph, in pixels: from above the eyebrows to the chin, about square.
struct FaceBox {
  double left = 0, top = 0, right = 0, bottom = 0;
};

// Height * width bytes, rows top to bottom: 255 person, 0 background, between them the part that the person covers.
using Mask = std::vector<uint8_t>;

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

}  // namespace qx::host

#endif  // QX_HOST_PERSON_MASK_H
