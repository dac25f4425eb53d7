// The person's own colours where the mask is partly transparent.
#ifndef QX_PHOTO_PERSON_FOREGROUND_H
#define QX_PHOTO_PERSON_FOREGROUND_H

#include "photo/base/image.h"

namespace qx::photo {

// The photograph with the old background's share taken out of every pixel that the mask (of the photograph's size)
// makes partly transparent; all others stay as they are. Laid over another background with the same mask, the result
// has no fringes of the old one.
// Blur fusion, twice: M. Forte, "Approximate Fast Foreground Colour Estimation", ICIP 2021, with weights that favour
// unmixed pixels. The blurred colours come
// from a copy of at most one megapixel, so that memory beyond the result stays small.
Image EstimateForeground(const Image& photograph, const Mask& mask);

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_FOREGROUND_H
