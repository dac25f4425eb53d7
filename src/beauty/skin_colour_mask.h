#ifndef QX_BEAUTY_SKIN_COLOUR_MASK_H
#define QX_BEAUTY_SKIN_COLOUR_MASK_H

#include <cstdint>

#include "base/point.h"
#include "beauty/lab_tables.h"
#include "beauty/skin_box.h"

namespace qx {

// Writes how strongly each pixel belongs to the skin of a face, at half size: (width / 2) * (height / 2) bytes, 0
// outside the soft regions around the faces and 1 to 255 inside, by the likeness to the colours in the middle of the
// face. bgr: width * height * 3, no size negative; corners: four points a face, at half size; eye0, eye1: one point a
// face, at full size; boxes: one a face, in the mask's pixels. Overlapping faces take the larger value.
// Returns 0, or -3 when the colour tables are absent or memory is short.
int BuildSkinColourMask(const LabTables& tables, const uint8_t* bgr, int32_t width, int32_t height,
                        const Point* corners, int32_t faceCount, const Point* eye0, const Point* eye1, SkinBox* boxes,
                        uint8_t* mask);

}  // namespace qx

#endif  // QX_BEAUTY_SKIN_COLOUR_MASK_H
