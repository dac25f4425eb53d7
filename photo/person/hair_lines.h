// Values of a crop brought to the picture that it was made from.
#ifndef QX_PHOTO_PERSON_HAIR_LINES_H
#define QX_PHOTO_PERSON_HAIR_LINES_H

#include "photo/base/image.h"
#include "photo/person/head_crop.h"

namespace qx::photo {

// Writes alpha (one value a pixel of the crop, 0 to 1) into the mask of the picture, as far as the zone of hair
// reaches. Where the crop is a reduced copy: a line of alpha over the colours in 3 x 3 pixels of the crop, interpolated
// between them, and never beyond the least and the greatest value there (K. He, J. Sun, "Fast Guided Filter", 2015).
void LayAlpha(const Image& picture, const HeadCrop& crop, const Floats& alpha, Mask* mask);

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_HAIR_LINES_H
