#include "crop/point_mapping.h"

#include <algorithm>

namespace qx {

Point PointMapping::operator()(Point p) const {
  const double dx = (p.x - centreX) / scale;
  const double dy = (p.y - centreY) / scale;
  return {TruncToInt32(dx * rotCos + dy * rotSin + offsetX + 0.5),
          TruncToInt32(dy * rotCos - dx * rotSin + offsetY + 0.5)};
}

void MapPoints(const PointMapping& map, const Point* from, int count, Point* to) {
  std::transform(from, from + count, to, map);
}

void MapFacePoints(const PointMapping& map, const FacePoints& from, FacePoints* to) {
  MapPoints(map, from.keyPoints, kKeyPointCount, to->keyPoints);
  MapPoints(map, from.landmarks, kLandmarkCount, to->landmarks);
  MapPoints(map, from.attributes, kAttributeCount, to->attributes);
}

}  // namespace qx
