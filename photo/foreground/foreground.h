// The person's own colours where the mask is partly transparent.
#ifndef QX_PHOTO_FOREGROUND_FOREGROUND_H
#define QX_PHOTO_FOREGROUND_FOREGROUND_H

#include "photo/base/image.h"

namespace qx::photo {

// What becomes of the old surroundings' light on the person's rim, where the mask is opaque.
enum class Rim { kReduce, kKeep };

// The picture with the old background's share taken out of every pixel that the mask (of the picture's size) makes
// partly transparent; all others stay as they are, but for the rim with Rim::kReduce (see photo/foreground/rim.h). Laid
// over another background with the same mask, the result has no fringes of the old one. `faceWidth`, in pixels of the
// picture, tells how far hair and its surroundings reach; above 0.
//
// The most probable colour of the person, as in Y. Chuang et al., "A Bayesian Approach to Digital Matting", CVPR 2001,
// the colours of person and background nearby being the priors; what neighbouring pixels turned out to be narrows the
// person's down a second time.
Image EstimateForeground(Image picture, const Mask& mask, double faceWidth, Rim rim);

}  // namespace qx::photo

#endif  // QX_PHOTO_FOREGROUND_FOREGROUND_H
