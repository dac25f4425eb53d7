// The background as it would be without the person.
#ifndef QX_PHOTO_PERSON_CLEAN_PLATE_H
#define QX_PHOTO_PERSON_CLEAN_PLATE_H

#include <algorithm>

#include "photo/person/head_crop.h"
#include "photo/person/pyramid.h"
#include "photo/person/region.h"

namespace qx::photo {

// Colours are levels of 255.
struct CleanPlate {
  Field colours;      // at half the crop's size; the fourth value is the variance (mean of the three) to expect there
  Region background;  // at the crop's size: pixels that are nothing but background
  Region smooth;      // at the crop's size: pixels whose surroundings are but a plane of colour and noise
  float noise = 0;    // usual difference of a background pixel from the plate, at least 1 level
  float flooded = 0;  // share of the head's wider surroundings that is plain enough to be known as background
  float spread = 0;   // difference from a smooth background that one in ten of them exceeds: what the scene holds

  // From 0 before a wall to 1 before a texture, and before a room full of things: where colours tell little.
  float Texture() const;
  float Clutter() const;
  float Structure() const { return std::max(Texture(), Clutter()); }
};

// Smooth background is followed from the surroundings of the head up to the hair and through its gaps, then spread
// behind the person. False where too little of the background shows.
bool EstimatePlate(const HeadCrop& crop, CleanPlate* plate);

// Of each pixel, 1 where its surroundings of 5 x 5 pixels are a plane of colour but for noise of this many levels.
Region SmoothPixels(const Image& colours, float noise);

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_CLEAN_PLATE_H
