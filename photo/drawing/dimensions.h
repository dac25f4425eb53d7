// The lengths that a document has bounds for, as arrows beside the picture.
#ifndef QX_PHOTO_DRAWING_DIMENSIONS_H
#define QX_PHOTO_DRAWING_DIMENSIONS_H

#include <vector>

#include "photo/check/check.h"
#include "photo/drawing/labels.h"
#include "photo/drawing/marks.h"

namespace qx::photo {

// In pixels of the scaled picture, from one row (of one above the picture: column) to another.
struct Dimension {
  double from = 0, to = 0;
  std::vector<Fraction> allowed;  // rows or columns in which the moving end may lie
  FindingState state = FindingState::kShown;
  Label label;
  int column = 0;  // arrows that would cover each other stand in columns of their own, from the picture outward
};

struct Dimensions {
  std::vector<Dimension> left;   // the head's lengths, the space above it last
  std::vector<Dimension> right;  // eyes above the lower edge
  std::vector<Dimension> above;  // face width
};

// None without a measured person.
Dimensions DimensionsOf(const PhotoCheck& check, const Frame& frame);

// The rows of the head and the columns of the face as lines, and the bands of what is allowed at the edges.
void DrawLevels(const PhotoCheck& check, const Dimensions& dimensions, const Frame& frame);

}  // namespace qx::photo

#endif  // QX_PHOTO_DRAWING_DIMENSIONS_H
