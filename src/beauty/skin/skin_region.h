#ifndef QX_BEAUTY_SKIN_SKIN_REGION_H
#define QX_BEAUTY_SKIN_SKIN_REGION_H

#include <cstdint>

#include "base/image_view.h"
#include "base/point.h"
#include "beauty/skin/skin_box.h"

namespace qx {

// 255 up to half of the radius, then down to 0 at the rim by a raised cosine; by hundredths of the squared radius.
class SkinTaper {
 public:
  SkinTaper();
  uint8_t operator[](int32_t i) const { return values_[i]; }  // i: 0 to 100

 private:
  uint8_t values_[101];
};

// Draws the soft region in which a face and its neck lie: an ellipse around the middle between the eyes and a wider one
// three eye distances below it, across the line through the eyes. Points and box are in pixels of the
// region, one channel, which is zero beforehand. The box holds both ellipses with a margin of a quarter, inside the
// region.
void BuildSkinRegion(Point eye0, Point eye1, const SkinTaper& taper, const MutableImage& region, SkinBox* box);

}  // namespace qx

#endif  // QX_BEAUTY_SKIN_SKIN_REGION_H
