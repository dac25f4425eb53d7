// A part of a picture at another size.
#ifndef QX_PHOTO_BASE_RESIZE_H
#define QX_PHOTO_BASE_RESIZE_H

#include <cstdint>

#include "photo/base/geometry.h"
#include "photo/base/image.h"
#include "photo/base/pixel_view.h"

namespace qx::photo {

// The part of the picture brought to width x height pixels with a Lanczos kernel of three lobes, widened when it
// shrinks (C. Duchon, "Lanczos Filtering in One and Two Dimensions", 1979). Fractions of pixels at the part's edges
// count as such. Beyond the picture its border pixels continue. The same on every machine.
Image ResizeLanczos(const PixelView& picture, const Rectangle& part, int32_t width, int32_t height);

// Source pixels that the kernel reaches on each side of what it is asked for, at this many source pixels for one.
int32_t LanczosReach(double scale);

}  // namespace qx::photo

#endif  // QX_PHOTO_BASE_RESIZE_H
