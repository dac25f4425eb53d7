// The outline of a coarse mask, led along the edges of the photograph.
#ifndef QX_PHOTO_PERSON_OUTLINE_H
#define QX_PHOTO_PERSON_OUTLINE_H

#include "photo/base/geometry.h"
#include "photo/base/image.h"

namespace qx::photo {

// How a guided filter moves the outline, which is where the map passes one half. Lengths in pixels of the map.
struct OutlineFilter {
  int radius;      // of the filter's windows
  double epsilon;  // of the filter
  float contrast;  // slope of the result over the filter's value, around one half
  float band;      // half the width of the band around the outline in which the filter decides, 1 to 120; beyond it
                   // the result is 0 or 1, towards its sides the filter's say fades
};

// The map filtered at a picture's size: `colours` is a copy of the photograph at the map's size, `window` the part that
// the picture shows, in pixels of the map; what lies outside of the map goes on as at its border. The picture may be
// `colours` itself. The time grows with the pixels only where the outline passes; so does the memory beyond the result.
Mask FilterOutline(const Mask& map, const Image& colours, const OutlineFilter& filter, const Image& picture,
                   const Rectangle& window);

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_OUTLINE_H
