#ifndef QX_BEAUTY_FEATURE_SPOTS_H
#define QX_BEAUTY_FEATURE_SPOTS_H

#include <cstdint>

#include "base/point.h"
#include "beauty/spot_edges.h"

namespace qx {

// Clears every connected group of 255s (8 neighbours) whose bounding box shares a pixel with that of the base of the
// nose or of a corner of the mouth, by the 88 points of the dense description. mask: rows * columns bytes of 0 or 255,
// 0 outside the area. False when memory is short; the mask is untouched then.
bool RemoveFeatureSpots(const Point* points, const Window& area, int32_t rows, int32_t columns, uint8_t* mask);

}  // namespace qx

#endif  // QX_BEAUTY_FEATURE_SPOTS_H
