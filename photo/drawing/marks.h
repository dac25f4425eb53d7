// Lines, arrows and colours of a check's drawing.
#ifndef QX_PHOTO_DRAWING_MARKS_H
#define QX_PHOTO_DRAWING_MARKS_H

#include <cstdint>
#include <vector>

#include "photo/base/geometry.h"
#include "photo/drawing/canvas.h"
#include "photo/drawing/findings.h"

namespace qx::photo {

inline constexpr Ink kPaper{255, 255, 255}, kText{34, 30, 28}, kFaintText{96, 88, 84};

// Dark enough to be read on white.
Ink InkOf(FindingState state);

// The copy of the photograph that is drawn on. All marks scale with the text.
struct Frame {
  Canvas* canvas;
  double scaleX, scaleY;  // pixels of the canvas for one of the photograph
  int em;                 // height of the text

  PlacePoint At(PlacePoint place) const { return {place.x * scaleX, place.y * scaleY}; }
  double Thin() const { return em / 12.0; }
};

// A place as a whole pixel from 0 to `size`; 0 for what is no number.
int32_t Inside(double place, int32_t size);

// With a white rim, so that they show on hair too. `width` is without it.
void CasedLine(Canvas* canvas, PlacePoint from, PlacePoint to, double width, Ink ink);
void CasedOutline(Canvas* canvas, const std::vector<PlacePoint>& polygon, double width, Ink ink);
void CasedRing(Canvas* canvas, PlacePoint centre, double radius, double width, Ink ink);
// Its head at `to`, of at most `head` pixels; a dot where it would have no length.
void CasedArrow(Canvas* canvas, PlacePoint from, PlacePoint to, double width, double head, Ink ink);
// A head at each end.
void DoubleArrow(Canvas* canvas, PlacePoint from, PlacePoint to, double width, double head, Ink ink);

}  // namespace qx::photo

#endif  // QX_PHOTO_DRAWING_MARKS_H
