#include "beauty/spots/face_outline.h"

#include <algorithm>
#include <cstring>

#include "face/landmark_set.h"

namespace qx {
namespace {

// Along the brows, from left to right; then back along the lower face to the first of them.
constexpr DensePoint kBrows[] = {kLeftBrowOuterEnd,  kLeftBrowTopOuter,  kLeftBrowTopMiddle, kLeftBrowTopInner,
                                 kLeftBrowInnerEnd,  kRightBrowInnerEnd, kRightBrowTopInner, kRightBrowTopMiddle,
                                 kRightBrowTopOuter, kRightBrowOuterEnd};
constexpr int32_t kFarthest = 1 << 29;  // farther points are drawn in, so that products of distances fit in 64 bits

// Columns of one row, marked from the first to the last of a span.
class RowMarks {
 public:
  RowMarks(int32_t left, int32_t width, uint8_t* marks) : left_(left), width_(width), marks_(marks) {
    std::memset(marks, 0, static_cast<size_t>(width));
  }
  void Mark(int64_t first, int64_t last) {
    const int64_t from = std::max<int64_t>(first - left_, 0), to = std::min<int64_t>(last - left_, width_ - 1);
    if (from <= to) std::memset(marks_ + from, 1, static_cast<size_t>(to - from + 1));
  }

 private:
  int64_t left_, width_;
  uint8_t* marks_;
};

// Where a row crosses an edge that is not level: the first whole column at or right of the crossing.
struct Crossing {
  int64_t column;
  bool exact;  // the crossing is that column
};

Crossing Cross(Point upper, Point lower, int32_t y) {
  const int64_t height = int64_t{lower.y} - upper.y;
  const int64_t product = (int64_t{y} - upper.y) * (int64_t{lower.x} - upper.x);
  const bool exact = product % height == 0;
  const int64_t rounded = product / height + (product > 0 && !exact ? 1 : 0);
  return {upper.x + rounded, exact};
}

}  // namespace

FaceOutline::FaceOutline(const Point* points) {
  Point* vertex = vertices_;
  const auto add = [&](int i) {
    const Point p = points[i];
    *vertex++ = {std::clamp(p.x, -kFarthest, kFarthest), std::clamp(p.y, -kFarthest, kFarthest)};
  };
  for (const DensePoint i : kBrows) add(i);
  for (int i = kOutlineRightEnd; i >= kOutlineLeftEnd; --i) add(i);
  add(kBrows[0]);
  const auto [minX, maxX] =
      std::minmax_element(points, points + kAttributeCount, [](Point a, Point b) { return a.x < b.x; });
  const auto minY = std::min_element(points, points + kAttributeCount, [](Point a, Point b) { return a.y < b.y; });
  const int64_t margin = (int64_t{maxX->x} - minX->x) / 100;
  foreheadLeft_ = minX->x - margin;
  foreheadRight_ = maxX->x + margin;
  foreheadBottom_ = minY->y + margin;
}

void FaceOutline::FillRow(int32_t y, int32_t left, int32_t width, uint8_t* inside) const {
  RowMarks row(left, width, inside);
  if (y <= foreheadBottom_) row.Mark(foreheadLeft_, foreheadRight_);
  int64_t crossings[kVertices];
  int count = 0;
  for (int i = 1; i < kVertices; ++i) {
    Point upper = vertices_[i - 1], lower = vertices_[i];
    if (upper.y > lower.y) std::swap(upper, lower);
    if (y < upper.y || y > lower.y) continue;
    if (upper.y == lower.y) {
      row.Mark(std::min(upper.x, lower.x), std::max(upper.x, lower.x));
      continue;
    }
    const Crossing crossing = Cross(upper, lower, y);
    if (crossing.exact) row.Mark(crossing.column, crossing.column);
    if (y < lower.y) crossings[count++] = crossing.column;
  }
  std::sort(crossings, crossings + count);
  for (int i = 0; i + 1 < count; i += 2) row.Mark(crossings[i], crossings[i + 1] - 1);
}

}  // namespace qx
