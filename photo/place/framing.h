// Where the persons stand in the picture and how large, beside what the placement chooses.
#ifndef QX_PHOTO_PLACE_FRAMING_H
#define QX_PHOTO_PLACE_FRAMING_H

#include "photo/base/geometry.h"

namespace qx::photo {

struct Framing {
  double zoom = 100;    // percent of the persons' size there, kLeastZoom to kMostZoom
  double offsetX = 0;   // percent of the picture's width by which they go right, -kMostOffset to kMostOffset
  double offsetY = 0;   // percent of its height by which they go down, as far
  double turnedBy = 0;  // degrees, clockwise, -kMostTurn to kMostTurn

  bool IsNone() const { return zoom == 100 && offsetX == 0 && offsetY == 0 && turnedBy == 0; }
};

inline constexpr double kLeastZoom = 70, kMostZoom = 150, kMostOffset = 30, kMostTurn = 15;

// Throws Failure (kBadOption) when a number is out of its range.
void CheckRanges(const Framing& framing);

// A rectangle of the photograph that was turned by so many degrees, clockwise.
struct Frame {
  double degrees = 0;
  Turn turn;
  Rectangle rectangle;
};

// The chosen frame's contents turned and scaled about the picture's middle, then moved.
Frame Reframed(const Frame& chosen, const Framing& framing);

}  // namespace qx::photo

#endif  // QX_PHOTO_PLACE_FRAMING_H
