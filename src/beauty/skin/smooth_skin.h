#ifndef QX_BEAUTY_SKIN_SMOOTH_SKIN_H
#define QX_BEAUTY_SKIN_SMOOTH_SKIN_H

#include "base/image_view.h"
#include "base/status.h"
#include "beauty/skin/lab_tables.h"
#include "beauty/skin/skin_layer.h"
#include "face/landmark_set.h"

namespace qx {

// Makes the layer: the image smoothed at a quarter of its size where it looks like the face's skin, but not on edges
// of its features. The face box is clamped into the image in place, unless the face is too small (its side from corner
// 0 to corner 1 at most 50 pixels). kBadArgument for a null tables record, image or eye point, or a negative size.
// Otherwise kOk, and the layer lacks its mask or both when the face or the image is too small or memory is short.
Status SmoothSkin(const LabTables* tables, const ImageView& image, LandmarkSet* landmarks, const Point* eye0,
                  const Point* eye1, SkinLayer* layer);

}  // namespace qx

#endif  // QX_BEAUTY_SKIN_SMOOTH_SKIN_H
