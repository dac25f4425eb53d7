// The guided filter: gives a map the edges of a colour picture.
//
// K. He, J. Sun, X. Tang, "Guided Image Filtering", ECCV 2010, with a colour guide; the linear coefficients can be made
// on a small picture and used on a large one (K. He, J. Sun, "Fast Guided Filter", 2015).
#ifndef QX_PHOTO_PERSON_GUIDED_FILTER_H
#define QX_PHOTO_PERSON_GUIDED_FILTER_H

#include "photo/base/raster.h"

namespace qx::photo {

// Four channels a pixel, a0 a1 a2 b: the filtered map is a0 g0 + a1 g1 + a2 g2 + b for a guide (g0, g1, g2). Each is
// the mean over the windows around the pixel of the line that fits map to guide best in a window.
// `guide`: three channels, 0 to 1. `map`: one channel, the same size. `radius`: windows have 2 * radius + 1 pixels a
// side, clipped at the border. `epsilon`: variance of the guide, per channel, below which a window is taken as flat;
// above 0.
Raster GuidedFilterCoefficients(const Raster& guide, const Raster& map, int radius, double epsilon);

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_GUIDED_FILTER_H
