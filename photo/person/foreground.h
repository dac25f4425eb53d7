// The person's own colours where the mask is partly transparent.
#ifndef QX_PHOTO_PERSON_FOREGROUND_H
#define QX_PHOTO_PERSON_FOREGROUND_H

#include "photo/base/image.h"

namespace qx::photo {

// The picture with the old background's share taken out of every pixel that the mask (of the picture's size) makes
// partly transparent; all others stay as they are. Laid over another background with the same mask, the result has no
// fringes of the old one. `faceWidth`, in pixels of the picture, tells how far hair and its surroundings reach; above
// 0. Blur fusion, twice: M. Forte, "Approximate Fast Foreground Colour Estimation", ICIP 2021, with weights that favour
// unmixed pixels.
Image EstimateForeground(Image picture, const Mask& mask, double faceWidth);

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_FOREGROUND_H
