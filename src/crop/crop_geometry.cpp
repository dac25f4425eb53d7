#include "crop/crop_geometry.h"

#include <algorithm>
#include <cmath>

namespace qx {

QuarterTurn NearestQuarterTurn(double angle) {
  // Near pi/4 and 3 pi/4, and to be kept as they are: they decide which way an exact diagonal falls.
  constexpr double kEighth = 0.78539815;
  constexpr double kThreeEighths = 2.3561944500000003;
  if (std::fabs(angle) <= kEighth) return {1, 0};
  if (angle > kEighth && angle < kThreeEighths) return {0, 1};
  if (angle < -kEighth && angle > -kThreeEighths) return {0, -1};
  return {-1, 0};
}

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
