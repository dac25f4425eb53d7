// Faces drawn over their photograph.
#ifndef QX_PHOTO_DRAWING_DRAW_FACES_H
#define QX_PHOTO_DRAWING_DRAW_FACES_H

#include <vector>

#include "photo/base/image.h"
#include "photo/face/face_finder.h"

namespace qx::photo {

enum class PointSet { kKey, kLandmarks, kDense };

// A copy of the photograph with each face's box (its upper side doubled) and number, and the points of one set with
// their numbers, which are the indices into the set. When the smallest face is too small for legible numbers, the copy
// is enlarged by a whole factor, each pixel becoming a square.
Image DrawFaces(const Image& photograph, const std::vector<ProbedFace>& faces, PointSet points);

}  // namespace qx::photo

#endif  // QX_PHOTO_DRAWING_DRAW_FACES_H
