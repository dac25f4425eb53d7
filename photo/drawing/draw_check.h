// The measures of a finished photograph drawn over it.
#ifndef QX_PHOTO_DRAWING_DRAW_CHECK_H
#define QX_PHOTO_DRAWING_DRAW_CHECK_H

#include "photo/base/image.h"
#include "photo/check/check.h"

namespace qx::photo {

enum class DrawingParts { kWithLegend, kPictureOnly };

// A copy of the photograph, brought to 1200 to 1900 pixels on its long side, with the lines of the head, the bands that
// the document allows at its edges, and marks in the face; around it arrows with lengths and limits, and the words for
// the marks; and with a legend (beside an upright photograph, below a wide one) that names what failed first. Green has
// passed, red failed, orange is a remark, blue only shown; signs before the words tell the same.
Image DrawCheck(const Image& photograph, const PhotoCheck& check, DrawingParts parts = DrawingParts::kWithLegend);

}  // namespace qx::photo

#endif  // QX_PHOTO_DRAWING_DRAW_CHECK_H
