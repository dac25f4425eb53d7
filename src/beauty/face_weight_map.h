#ifndef QX_BEAUTY_FACE_WEIGHT_MAP_H
#define QX_BEAUTY_FACE_WEIGHT_MAP_H

#include <cstdint>

#include "base/buffer.h"
#include "base/point.h"

namespace qx {

// Makes a map of outWidth * outHeight bytes that is 255 where the faces are flat and outside them, and falls toward 1
// on edges across a face's own direction, such as the lines of eyes, brows, nostrils and lips.
// bgr: width * height * 3; corners: four points a face, at half size. Returns 0, or -3 without a map when memory is
// short, a size comes out empty, or the faces are a few pixels in a large image.
int BuildFaceWeightMap(const uint8_t* bgr, int32_t width, int32_t height, const Point* corners, int32_t faceCount,
                       int32_t outWidth, int32_t outHeight, ByteBuffer* map);

}  // namespace qx

#endif  // QX_BEAUTY_FACE_WEIGHT_MAP_H
