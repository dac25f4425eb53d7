#ifndef QX_BASE_POINT_H
#define QX_BASE_POINT_H

#include <cstdint>

#include "base/number.h"

namespace qx {

// A pixel position. The engine hands points over as int32 pairs, so arrays of Point have the layout of such a list.
struct Point {
  int32_t x = 0;
  int32_t y = 0;
};
static_assert(sizeof(Point) == 2 * sizeof(int32_t), "points are int32 pairs");

// Squared distance in int32, wrapping: as double it may be negative for points more than 46,340 apart.
inline int32_t SquaredDistance(Point a, Point b) {
  const int32_t dx = WrapSub(b.x, a.x);
  const int32_t dy = WrapSub(b.y, a.y);
  return WrapAdd(WrapMul(dx, dx), WrapMul(dy, dy));
}

}  // namespace qx

#endif  // QX_BASE_POINT_H
