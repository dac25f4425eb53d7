// Colours for what nobody sees, so that a viewer that scales a cut-out finds no others beside it.
#ifndef QX_PHOTO_RENDER_EXTEND_COLOURS_H
#define QX_PHOTO_RENDER_EXTEND_COLOURS_H

#include "photo/base/image.h"

namespace qx::photo {

// Pixels that the mask (of the picture's size) leaves empty take the colours of the nearest ones that it does not,
// counted along rows and columns, up to kColourReach pixels away; those further away become black.
constexpr int kColourReach = 32;
void ExtendColours(const Mask& mask, Image* picture);

}  // namespace qx::photo

#endif  // QX_PHOTO_RENDER_EXTEND_COLOURS_H
