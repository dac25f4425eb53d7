#include "beauty/spots/feature_spots.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/buffer.h"
#include "face/landmark_set.h"

namespace qx {
namespace {

constexpr uint8_t kSpot = 255;
constexpr uint8_t kKept = 1;  // visited, while the mask is gone through

struct Pixel {
  int32_t x, y;
};

// Half-open.
struct Bounds {
  int64_t left = INT64_MAX, top = INT64_MAX, right = INT64_MIN, bottom = INT64_MIN;

  void Add(int64_t x, int64_t y) {
    left = std::min(left, x);
    top = std::min(top, y);
    right = std::max(right, x + 1);
    bottom = std::max(bottom, y + 1);
  }
  bool Overlaps(const Bounds& o) const {
    return std::max(left, o.left) < std::min(right, o.right) && std::max(top, o.top) < std::min(bottom, o.bottom);
  }
};

struct FeatureBoxes {
  Bounds boxes[3];

  explicit FeatureBoxes(const Point* points) {
    const int64_t down = std::abs(int64_t{points[kUpperLipMiddle].y} - points[kNoseBase].y) / 4;
    for (const DensePoint i : {kLeftNoseWing, kNoseTip, kRightNoseWing, kRightNostril, kNoseBase, kLeftNostril}) {
      boxes[0].Add(points[i].x, points[i].y + down);
    }
    for (const DensePoint i : {kLeftMouthCorner, kUpperLipLeft, kLowerLipLeft}) boxes[1].Add(points[i].x, points[i].y);
    for (const DensePoint i : {kRightMouthCorner, kUpperLipRight, kLowerLipRight}) {
      boxes[2].Add(points[i].x, points[i].y);
    }
  }
  bool Overlap(const Bounds& bounds) const {
    return std::any_of(boxes, boxes + 3, [&](const Bounds& box) { return box.Overlaps(bounds); });
  }
};

// Collects the group of pixel `seed` in `group`, sets them to kKept, and answers how many they are.
size_t CollectGroup(Pixel seed, const MutableImage& mask, Pixel* group, Bounds* bounds) {
  size_t count = 0;
  const auto visit = [&](int32_t x, int32_t y) {
    uint8_t& value = mask.Row(y)[x];
    if (value != kSpot) return;
    value = kKept;
    group[count++] = {x, y};
    bounds->Add(x, y);
  };
  visit(seed.x, seed.y);
  for (size_t i = 0; i < count; ++i) {
    const Pixel p = group[i];
    for (int32_t y = std::max(p.y - 1, 0); y <= std::min(p.y + 1, mask.height - 1); ++y) {
      for (int32_t x = std::max(p.x - 1, 0); x <= std::min(p.x + 1, mask.width - 1); ++x) visit(x, y);
    }
  }
  return count;
}

}  // namespace

Status RemoveFeatureSpots(const Point* points, const Window& area, const MutableImage& mask) {
  const auto row = [&mask](int32_t y) { return mask.Row(y); };
  uint64_t marked = 0;
  for (int32_t y = area.top; y < area.bottom; ++y) {
    marked += static_cast<uint64_t>(std::count(row(y) + area.left, row(y) + area.right, kSpot));
  }
  Buffer<Pixel> pixels;
  if (!pixels.Allocate(marked)) return Status::kMemoryShort;
  const FeatureBoxes features(points);
  Pixel* group = pixels.data();
  for (int32_t y = area.top; y < area.bottom; ++y) {
    uint8_t* const end = row(y) + area.right;
    for (uint8_t* at = row(y) + area.left;
         (at = static_cast<uint8_t*>(std::memchr(at, kSpot, static_cast<size_t>(end - at)))); ++at) {
      Bounds bounds;
      const Pixel seed = {static_cast<int32_t>(at - row(y)), y};
      const size_t count = CollectGroup(seed, mask, group, &bounds);
      if (features.Overlap(bounds)) {
        for (size_t i = 0; i < count; ++i) row(group[i].y)[group[i].x] = 0;
      } else {
        group += count;
      }
    }
  }
  for (const Pixel* kept = pixels.data(); kept != group; ++kept) row(kept->y)[kept->x] = kSpot;
  return Status::kOk;
}

}  // namespace qx
