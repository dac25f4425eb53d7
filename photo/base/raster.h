// Pictures of floating-point samples, and resampling.
#ifndef QX_PHOTO_BASE_RASTER_H
#define QX_PHOTO_BASE_RASTER_H

#include <cstddef>

#include "photo/base/geometry.h"
#include "photo/base/image.h"

namespace qx::photo {

// Rows top to bottom without gaps, the channels of a pixel side by side. Unfilled at first.
struct Raster {
  Raster() = default;
  Raster(int w, int h, int c)
      : width(w),
        height(h),
        channels(c),
        values(static_cast<size_t>(w) * static_cast<size_t>(h) * static_cast<size_t>(c)) {}
  float* At(int x, int y) { return values.data() + Offset(x, y); }
  const float* At(int x, int y) const { return values.data() + Offset(x, y); }
  size_t Offset(int x, int y) const {
    return (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) *
           static_cast<size_t>(channels);
  }

  int width = 0;
  int height = 0;
  int channels = 0;
  Floats values;
};

// The window brought to width x height pixels: a triangle filter that is as wide as two source pixels or, when
// shrinking, two target pixels. Beyond the source its border goes on.
Raster Resample(const Raster& source, const Rectangle& window, int width, int height);
// The same for a photograph; bytes become 0 to 1, the order blue, green, red stays.
Raster Resample(const Image& source, const Rectangle& window, int width, int height);
// The same for the whole, in bytes.
Image ResampleWhole(const Image& source, int width, int height);
Mask ResampleWhole(const Mask& source, int width, int height);
// The same for a part, which is not empty and lies in the source; its border goes on beyond it.
Image ResamplePart(const Image& source, const PixelBox& part, int width, int height);
Mask ResamplePart(const Mask& source, const PixelBox& part, int width, int height);

// The channels at a point, bilinear between the pixels' centres; points outside take the nearest.
void Sample(const Raster& source, double x, double y, float* channels);

}  // namespace qx::photo

#endif  // QX_PHOTO_BASE_RASTER_H
