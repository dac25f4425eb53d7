#ifndef QX_BEAUTY_SKIN_RESIZE_MASK_H
#define QX_BEAUTY_SKIN_RESIZE_MASK_H

#include <cstdint>

#include "base/buffer.h"
#include "base/image_view.h"
#include "base/number.h"

namespace qx {

// The two source positions of output position i along one axis, and the weight of the second.
struct BilinearPosition {
  int32_t first, second;
  double weight;

  // step: source extent over output extent; i: 0 to output extent - 1.
  static BilinearPosition At(int32_t i, double step, int32_t extent) {
    const double position = i * step;
    const int32_t first = TruncToInt32(position);
    return {first, first + 1 < extent ? first + 1 : first, position - first};
  }
};

// Scales an image of one channel to outWidth * outHeight, bilinear, truncated; all sizes are 1 or more. Reads only the
// source rows that some output row's position names. Absent when memory is short.
ByteBuffer ResizeMask(const ImageView& source, int32_t outWidth, int32_t outHeight);

}  // namespace qx

#endif  // QX_BEAUTY_SKIN_RESIZE_MASK_H
