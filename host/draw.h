// Faces drawn over their photograph.
#ifndef QX_HOST_DRAW_H
#define QX_HOST_DRAW_H

#include <vector>

#include "host/face_probe.h"
#include "host/image_file.h"

namespace qx::host {

enum class PointSet { kKey, kLandmarks, kDense };

// A copy of the photograph with each face's box (its upper side doubled) and number, and the points of one set with
// their numbers, which are the indices into the set. When the smallest face is too small for legible numbers, the copy
// is enlarged by a whole factor, each pixel becoming a square.
Image DrawFaces(const Image& photograph, const std::vector<ProbedFace>& faces, PointSet points);

}  // namespace qx::host

#endif  // QX_HOST_DRAW_H
