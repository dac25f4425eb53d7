#ifndef QX_BEAUTY_SKIN_SKIN_BOX_H
#define QX_BEAUTY_SKIN_SKIN_BOX_H

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "base/point.h"

namespace qx {

// Columns left to right - 1 and rows top to bottom - 1 of an image at half size. Each value has passed through a
// signed 16-bit number, so that in a very large image it may be anything.
struct SkinBox {
  int32_t left = 0, top = 0, right = 0, bottom = 0;
};

// The part of a box that lies in an image; empty boxes stay empty.
inline SkinBox ClipBox(const SkinBox& box, int32_t width, int32_t height) {
  return {std::max(box.left, 0), std::max(box.top, 0), std::min(box.right, width), std::min(box.bottom, height)};
}

inline int32_t WrapToInt16(int32_t value) {
  return static_cast<int16_t>(static_cast<uint16_t>(value));
}

// Whole pixels between two points.
inline int32_t TruncatedDistance(Point a, Point b) {
  const double dx = static_cast<double>(b.x) - a.x;
  const double dy = static_cast<double>(b.y) - a.y;
  return TruncToInt32(std::sqrt(dx * dx + dy * dy));
}

}  // namespace qx

#endif  // QX_BEAUTY_SKIN_SKIN_BOX_H
