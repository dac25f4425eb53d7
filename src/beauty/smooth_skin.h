#ifndef QX_BEAUTY_SMOOTH_SKIN_H
#define QX_BEAUTY_SMOOTH_SKIN_H

#include <cstdint>

#include "beauty/lab_tables.h"
#include "beauty/landmark_set.h"

namespace qx {

// Smoothed skin to be blended over an image of the same size.
struct SkinLayer {
  ByteBuffer image;  // width * height * 3
  ByteBuffer mask;   // width * height: the weight of each pixel
};

// Makes the layer: the image smoothed at a quarter of its size where it looks like the face's skin, but not on edges
// of its features. bgr: width * height * 3. The face box is clamped into the image in place, unless the face is too
// small (its side from corner 0 to corner 1 at most 50 pixels). False for a null tables record, image or eye point, or
// a negative size. Otherwise true, and the layer lacks its mask or both when the face or the image is too small or
// memory is short.
bool SmoothSkin(const LabTables* tables, const uint8_t* bgr, int32_t width, int32_t height, LandmarkSet* landmarks,
                const Point* eye0, const Point* eye1, SkinLayer* layer);

}  // namespace qx

#endif  // QX_BEAUTY_SMOOTH_SKIN_H
