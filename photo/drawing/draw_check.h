// The measures of a finished photograph drawn over it.
#ifndef QX_PHOTO_DRAWING_DRAW_CHECK_H
#define QX_PHOTO_DRAWING_DRAW_CHECK_H

#include "photo/base/image.h"
#include "photo/check/check.h"

namespace qx::photo {

// A copy of the photograph with the top of the hair, the eyes, the chin and the face's sides as lines: green where the
// bound is met, red where not, blue where there is none. Bands at the sides show the rows that the bounds allow (for
// the chin below the hair as it is).
Image DrawCheck(const Image& photograph, const PhotoCheck& check);

}  // namespace qx::photo

#endif  // QX_PHOTO_DRAWING_DRAW_CHECK_H
