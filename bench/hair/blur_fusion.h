// The yardstick for the person's colours: blur fusion alone, kept as it was when the masks began to follow hair, so
// that "before" stays the same while photo/foreground/foreground.cpp changes.
#ifndef QX_BENCH_HAIR_BLUR_FUSION_H
#define QX_BENCH_HAIR_BLUR_FUSION_H

#include "photo/base/image.h"

namespace qx::bench::hair {

// The picture with the old background's share taken out of every pixel that the mask (of the picture's size) makes
// partly transparent. `faceWidth` in pixels, above 0. Blur fusion, twice: M. Forte, "Approximate Fast Foreground Colour
// Estimation", ICIP 2021, with weights that favour unmixed pixels.
photo::Image BlurFusionColours(photo::Image picture, const photo::Mask& mask, double faceWidth);

}  // namespace qx::bench::hair

#endif  // QX_BENCH_HAIR_BLUR_FUSION_H
