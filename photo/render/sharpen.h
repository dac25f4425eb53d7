// Sharper or softer pictures of their final size.
#ifndef QX_PHOTO_RENDER_SHARPEN_H
#define QX_PHOTO_RENDER_SHARPEN_H

#include "photo/base/image.h"

namespace qx::photo {

// An unsharp mask of luma (ITU-R BT.601), in place: adds `amount`, -1 to below 2, times what a binomial filter of 5 x 5
// pixels takes away; -1 leaves what the filter lets through. When sharpening, the first 1.5 levels of a difference do
// not count, so that noise stays as it is, and no pixel goes beyond the lightest and darkest of the 3 x 3 around it by
// more than 3 levels, so that edges get no halos. All channels of a pixel move alike and as far as all of them can: its
// hue stays.
void Sharpen(double amount, Image* picture);

}  // namespace qx::photo

#endif  // QX_PHOTO_RENDER_SHARPEN_H
