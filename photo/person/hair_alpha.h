// How much of each pixel around a head is hair, from the colours of the background behind it.
#ifndef QX_PHOTO_PERSON_HAIR_ALPHA_H
#define QX_PHOTO_PERSON_HAIR_ALPHA_H

#include "photo/base/image.h"
#include "photo/person/clean_plate.h"
#include "photo/person/hair_map.h"
#include "photo/person/head_crop.h"

namespace qx::photo {

struct HairAlpha {
  Mask alpha;  // the person's share of each pixel of the crop
  OutlineDoubt doubt;
};

HairAlpha EstimateHair(const HeadCrop& crop, const CleanPlate& plate);

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_HAIR_ALPHA_H
