// What the crop of one face and that of two share: the quarter turn, and the way of points into a crop.
#ifndef QX_CROP_CROP_GEOMETRY_H
#define QX_CROP_CROP_GEOMETRY_H

#include "base/point.h"
#include "face/face_record.h"

namespace qx {

// A turn by a multiple of 90 degrees: cosine and sine, each 0, 1 or -1.
struct QuarterTurn {
  double cos;
  double sin;
};

// The quarter turn nearest to an angle in radians, -pi to pi.
QuarterTurn NearestQuarterTurn(double angle);

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

#endif  // QX_CROP_CROP_GEOMETRY_H
