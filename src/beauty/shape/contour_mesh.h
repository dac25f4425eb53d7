#ifndef QX_BEAUTY_SHAPE_CONTOUR_MESH_H
#define QX_BEAUTY_SHAPE_CONTOUR_MESH_H

#include <cstdint>

#include "base/point.h"

namespace qx {

// Vertices of the mesh: the ends of the face's axis, the outline points and the anchors, which never move.
enum ContourVertex { kAxisTop, kAxisEnd, kLeft1, kLeft2, kRight1, kRight2, kAnchorAL, kAnchorBL, kAnchorAR, kAnchorBR };
inline constexpr int kContourVertices = 10;
inline constexpr int kContourTriangles = 12;

// Vertices in whole pixels, before and after the move. A moved vertex may lie outside the image.
struct ContourMesh {
  Point input[kContourVertices];
  Point output[kContourVertices];
};

// The triangles in the order in which they are drawn: a later one wins where two meet.
extern const ContourVertex kContourTriangleVertices[kContourTriangles][3];

// Places the mesh in an image for a strength other than 0. points: the 88 of the dense description. False when an
// outline point lies on the axis.
bool BuildContourMesh(int32_t width, int32_t height, const Point* points, double strength, ContourMesh* mesh);

}  // namespace qx

#endif  // QX_BEAUTY_SHAPE_CONTOUR_MESH_H
