#ifndef QX_BEAUTY_SPOTS_FACE_OUTLINE_H
#define QX_BEAUTY_SPOTS_FACE_OUTLINE_H

#include <cstdint>

#include "base/point.h"

namespace qx {

// Where spots may begin: inside the closed outline through points of the dense description (by the even-odd rule, its
// edges included), and on the forehead, all rows above the highest point between the outermost ones.
class FaceOutline {
 public:
  // points: the 88 of the dense description.
  explicit FaceOutline(const Point* points);

  // inside: one byte for each of `width` columns from `left` on in row y, 1 where a spot may begin, else 0.
  void FillRow(int32_t y, int32_t left, int32_t width, uint8_t* inside) const;

 private:
  static constexpr int kVertices = 32;

  Point vertices_[kVertices];
  int64_t foreheadLeft_, foreheadRight_, foreheadBottom_;  // inclusive
};

}  // namespace qx

#endif  // QX_BEAUTY_SPOTS_FACE_OUTLINE_H
