#ifndef QX_BEAUTY_SKIN_FACE_WEIGHT_MAP_H
#define QX_BEAUTY_SKIN_FACE_WEIGHT_MAP_H

#include <cstdint>

#include "base/buffer.h"
#include "base/image_view.h"
#include "base/point.h"
#include "base/status.h"

namespace qx {

// Makes a map of outWidth * outHeight bytes that is 255 where the faces are flat and outside them, and falls toward 1
// on edges across a face's own direction, such as the lines of eyes, brows, nostrils and lips.
// image: three channels; corners: four points a face, at half size. kOk, or without a map kMemoryShort, or kBadArgument
// where a size comes out empty or the faces are a few pixels in a large image.
Status BuildFaceWeightMap(const ImageView& image, const Point* corners, int32_t faceCount, int32_t outWidth,
                          int32_t outHeight, ByteBuffer* map);

}  // namespace qx

#endif  // QX_BEAUTY_SKIN_FACE_WEIGHT_MAP_H
