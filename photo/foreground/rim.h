// The light of the old surroundings on the person's rim.
#ifndef QX_PHOTO_FOREGROUND_RIM_H
#define QX_PHOTO_FOREGROUND_RIM_H

#include "photo/base/image.h"
#include "photo/foreground/colour_field.h"

namespace qx::photo {

// Takes the line out of the person's own colours that light from behind leaves on hair and shoulders, one to three
// hundredths of a face wide. A line is one only where it has the colour that the background there has beyond the
// person's own, which is brighter then; where it runs along the outline for a while, evenly; where it ends soon towards
// the inside; and where it stands out from what the person's colours there do anyway. Each of these fades. No more is
// taken than there is, and nothing gets beyond the person's colour further inside. Pixels of mask 0 stay.
//
// Both fields have been spread over the cells of `grid`, which covers the picture; mask and picture have one size;
// `faceWidth` in pixels.
void ReduceRim(const Mask& mask, double faceWidth, const CellGrid& grid, const ColourField& person,
               const ColourField& background, Image* picture);

}  // namespace qx::photo

#endif  // QX_PHOTO_FOREGROUND_RIM_H
