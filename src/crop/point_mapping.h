#ifndef QX_CROP_POINT_MAPPING_H
#define QX_CROP_POINT_MAPPING_H

#include "base/point.h"
#include "face/face_record.h"

namespace qx {

// How points of the photograph turn into points of a crop.
struct PointMapping {
  double centreX, centreY;  // centre of the face in the photograph
  double offsetX, offsetY;  // centre of the face in the crop
  double rotCos, rotSin;    // quarter turn
  double scale;             // source pixels in a crop pixel

  // Rounds half up, toward zero below -0.5; not clamped to the crop.
  Point operator()(Point p) const;
};

// Maps `count` points, one to one.
void MapPoints(const PointMapping& map, const Point* from, int count, Point* to);

// Maps all points of a face but its box.
void MapFacePoints(const PointMapping& map, const FacePoints& from, FacePoints* to);

}  // namespace qx

#endif  // QX_CROP_POINT_MAPPING_H
