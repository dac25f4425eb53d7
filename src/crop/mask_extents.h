#ifndef QX_CROP_MASK_EXTENTS_H
#define QX_CROP_MASK_EXTENTS_H

#include <cstdint>

#include "face/face_record.h"

namespace qx {

// Inclusive edges. A box of nothing keeps the values from which the search starts: left and top on the last column and
// row, right and bottom at 0.
struct MaskBox {
  int64_t left, top, right, bottom;
};

// What the person mask and the dense points say about a person's outline in the face's crop.
struct MaskExtents {
  int64_t chinRow;     // lowest of the dense points; may lie outside the crop
  int64_t faceWidth;   // of the dense points
  int64_t minX, maxX;  // of the dense points
  MaskBox head;        // rows 0 to the chin row; its bottom is the chin row
  MaskBox foreground;  // all rows
};

// The face has a person mask. Foreground is a mask value above 64; the last column is not looked at.
MaskExtents MeasureMask(const FaceRecord& face);

}  // namespace qx

#endif  // QX_CROP_MASK_EXTENTS_H
