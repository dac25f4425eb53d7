#ifndef QX_BEAUTY_SKIN_SKIN_COLOUR_MASK_H
#define QX_BEAUTY_SKIN_SKIN_COLOUR_MASK_H

#include <cstdint>

#include "base/image_view.h"
#include "base/point.h"
#include "base/status.h"
#include "beauty/skin/lab_tables.h"
#include "beauty/skin/skin_box.h"

namespace qx {

// Writes how strongly each pixel belongs to the skin of a face, at half size: (width / 2) * (height / 2) bytes, 0
// outside the soft regions around the faces and 1 to 255 inside, by the likeness to the colours in the middle of the
// face. image: three channels, no size negative; corners: four points a face, at half size; eye0, eye1: one point a
// face, at full size; boxes: one a face, in the mask's pixels. Overlapping faces take the larger value.
// kOk, or kMemoryShort (also when the colour tables are absent).
Status BuildSkinColourMask(const LabTables& tables, const ImageView& image, const Point* corners, int32_t faceCount,
                           const Point* eye0, const Point* eye1, SkinBox* boxes, uint8_t* mask);

}  // namespace qx

#endif  // QX_BEAUTY_SKIN_SKIN_COLOUR_MASK_H
