#ifndef QX_BEAUTY_SPOTS_FEATURE_SPOTS_H
#define QX_BEAUTY_SPOTS_FEATURE_SPOTS_H

#include <cstdint>

#include "base/image_view.h"
#include "base/point.h"
#include "base/status.h"
#include "beauty/spots/spot_edges.h"

namespace qx {

// Clears every connected group of 255s (8 neighbours) whose bounding box shares a pixel with that of the base of the
// nose or of a corner of the mouth, by the 88 points of the dense description. mask: one channel of 0 or 255, 0 outside
// the area. kOk, or kMemoryShort; the mask is untouched then.
Status RemoveFeatureSpots(const Point* points, const Window& area, const MutableImage& mask);

}  // namespace qx

#endif  // QX_BEAUTY_SPOTS_FEATURE_SPOTS_H
