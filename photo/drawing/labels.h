// Short texts beside a picture, each at the height of what it speaks of.
#ifndef QX_PHOTO_DRAWING_LABELS_H
#define QX_PHOTO_DRAWING_LABELS_H

#include <optional>
#include <string>
#include <vector>

#include "photo/base/geometry.h"
#include "photo/drawing/canvas.h"
#include "photo/drawing/findings.h"

namespace qx::photo {

// One line of a label. Without a sign it goes on with the line above it.
struct LabelRow {
  std::string text;
  FindingState state = FindingState::kShown;
  bool hasSign = true;
};

// Places are pixels of the scaled picture.
struct Label {
  std::vector<LabelRow> rows;
  double level = 0;                  // the row at which its middle should stand
  std::optional<PlacePoint> target;  // what a line leads to
  bool onLeft = false;
  int top = 0;  // set by Arrange
};

int WidthOf(const std::vector<Label>& labels, int em);
int HeightOf(const Label& label, int em);

// Sorts labels by their level and moves those apart that would overlap, within `height` pixels as far as they fit.
// Gives back the height that they need, at least `height`.
int Arrange(std::vector<Label>* labels, int em, int height);

// Their left edge at `left`; a Label's top counts from `top`.
void DrawLabels(Canvas* canvas, const std::vector<Label>& labels, int left, int top, int em);

}  // namespace qx::photo

#endif  // QX_PHOTO_DRAWING_LABELS_H
