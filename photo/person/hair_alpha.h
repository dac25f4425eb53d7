// How much of each pixel around a head is hair, from the colours of the background behind it.
#ifndef QX_PHOTO_PERSON_HAIR_ALPHA_H
#define QX_PHOTO_PERSON_HAIR_ALPHA_H

#include "photo/base/image.h"
#include "photo/person/clean_plate.h"
#include "photo/person/head_crop.h"

namespace qx::photo {

// One value a pixel of the crop, rows without gaps.
struct HairAlpha {
  Floats alpha;       // the person's share, 0 to 1
  Floats confidence;  // 0 to 1: how well the colours tell it
  Region unknown;     // where the colours were asked; elsewhere the person's share is all or nothing
};

HairAlpha EstimateHair(const HeadCrop& crop, const CleanPlate& plate);

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_HAIR_ALPHA_H
