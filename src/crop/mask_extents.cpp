#include "crop/mask_extents.h"

#include <algorithm>

namespace qx {
namespace {

constexpr uint8_t kForegroundAbove = 64;

bool IsForeground(uint8_t m) {
  return m > kForegroundAbove;
}

void Include(int64_t row, int64_t left, int64_t right, bool* found, MaskBox* box) {
  if (!*found) box->top = row;
  *found = true;
  box->left = std::min(box->left, left);
  box->right = std::max(box->right, right);
}

void MeasurePoints(const FaceRecord& face, MaskExtents* extents) {
  const auto* first = face.crop.attributes;
  const auto* last = first + kAttributeCount;
  const auto byX = std::minmax_element(first, last, [](Point a, Point b) { return a.x < b.x; });
  const auto* lowest = std::max_element(first, last, [](Point a, Point b) { return a.y < b.y; });
  extents->minX = byX.first->x;
  extents->maxX = byX.second->x;
  extents->faceWidth = extents->maxX - extents->minX;
  extents->chinRow = lowest->y;
}

}  // namespace

MaskExtents MeasureMask(const FaceRecord& face) {
  MaskExtents extents;
  MeasurePoints(face, &extents);
  const int64_t width = face.cropWidth, height = face.cropHeight;
  extents.foreground = {width - 1, height - 1, 0, 0};
  extents.head = {width - 1, height - 1, 0, extents.chinRow};
  bool anyForeground = false, anyHead = false;
  for (int64_t y = 0; y < height && width > 0 && face.fgMask; ++y) {
    const uint8_t* row = face.fgMask.data() + y * width;
    const uint8_t* end = row + width - 1;
    const uint8_t* left = std::find_if(row, end, IsForeground);
    // The last column is never looked at; where it is the only one, the start values meet and every row counts.
    if (left == end && width > 1) continue;
    const uint8_t* right = end;
    while (right > left && !IsForeground(*--right)) {
    }
    Include(y, left - row, right - row, &anyForeground, &extents.foreground);
    if (y <= extents.chinRow) Include(y, left - row, right - row, &anyHead, &extents.head);
    extents.foreground.bottom = y;
  }
  return extents;
}

}  // namespace qx
