#include "beauty/shape/contour_mesh.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "face/landmark_set.h"

namespace qx {
namespace {

// Dense points of the axis' ends and the outline, in the order of the vertices.
constexpr DensePoint kSourcePoints[] = {kNoseRoot, kChin, kLeftCheek, kLeftJaw, kRightCheek, kRightOfChin};
constexpr double kStrongest = 5;

// Also for what is no number.
double AtLeastZero(double v) {
  return v > 0 ? v : 0;
}
double AtMost(double v, double limit) {
  return v < limit ? v : limit;
}

// Whether q lies on the line through the axis' ends, by equal slopes.
bool OnAxis(Point q, Point top, Point end) {
  const auto slope = [](Point a, Point b) {
    return (static_cast<double>(a.y) - b.y) / (static_cast<double>(a.x) - b.x);
  };
  if (q.x == top.x) return top.x == end.x;
  return top.x != end.x && slope(q, top) == slope(top, end);
}

// Distance of q from the axis; the area and the length pass through single precision.
float AxisDistance(Point q, Point top, Point end) {
  const double qx = q.x, qy = q.y, tx = top.x, ty = top.y, ex = end.x, ey = end.y;
  const auto area = static_cast<float>(std::fabs((ey - ty) * (tx - qx) - (ex - tx) * (ty - qy)) * 0.5);
  const auto length = static_cast<float>(std::sqrt((tx - ex) * (tx - ex) + (ty - ey) * (ty - ey)));
  return area * 2 / length;
}

struct Distances {
  float left1, left2, right1, right2;
};

void PlaceAnchors(int32_t width, int32_t height, const Distances& d, Point* v) {
  const double lastColumn = width - 1, lastRow = height - 1;
  const Point top = v[kAxisTop], end = v[kAxisEnd];
  const auto left = [&d](int32_t x) { return TruncToInt32(AtLeastZero(x - 2.0 * static_cast<double>(d.left1))); };
  const auto right = [&d, lastColumn](int32_t x) {
    return TruncToInt32(AtMost(x + 2.0 * static_cast<double>(d.right1) + 1, lastColumn));
  };
  const int32_t endY = TruncToInt32(AtMost(end.y, lastRow));
  v[kAnchorAL] = {left(top.x), top.y};
  v[kAnchorBL] = {left(end.x), endY};
  v[kAnchorAR] = {right(top.x), top.y};
  v[kAnchorBR] = {right(end.x), endY};
}

// The left points go to larger x and the right ones to smaller x for both signs of the strength, each with a constant
// step of one pixel to larger x; the sign selects the divisor and for three of them whose distance counts.
void MoveOutline(int32_t width, double k, const Distances& d, ContourMesh* mesh) {
  const double lastColumn = width - 1;
  const Point* in = mesh->input;
  const auto step = [k](float distance, float divisor) { return static_cast<double>(distance / divisor) * k; };
  const auto larger = [&](ContourVertex v, float distance, float divisor) {
    return TruncToInt32(AtMost(in[v].x + step(distance, divisor) + 1, lastColumn));
  };
  const auto smaller = [&](ContourVertex v, float distance, float divisor) {
    return TruncToInt32(AtLeastZero(in[v].x - step(distance, divisor) + 1));
  };
  Point* out = mesh->output;
  if (in[kLeft1].x != in[kAnchorAL].x) {
    out[kLeft1].x = k > 0 ? larger(kLeft1, d.left1, 40) : smaller(kLeft1, d.left1, 80);
  }
  if (in[kLeft2].x != in[kAnchorBL].x) {
    out[kLeft2].x = k > 0 ? larger(kLeft2, d.left2, 20) : smaller(kLeft2, d.left1, 40);
  }
  if (in[kRight1].x != in[kAnchorAR].x) {
    out[kRight1].x = k > 0 ? smaller(kRight1, d.right1, 40) : larger(kRight1, d.left2, 80);
  }
  if (in[kRight2].x != in[kAnchorBR].x) {
    out[kRight2].x = k > 0 ? smaller(kRight2, d.right2, 20) : larger(kRight2, d.left2, 40);
  }
}

}  // namespace

const ContourVertex kContourTriangleVertices[kContourTriangles][3] = {
    {kAnchorAL, kAnchorBL, kLeft1},  {kAnchorBL, kAxisEnd, kLeft2}, {kAnchorBL, kLeft2, kLeft1},
    {kAnchorAL, kLeft1, kAxisTop},   {kLeft1, kLeft2, kAxisTop},    {kLeft2, kAxisEnd, kAxisTop},
    {kAxisTop, kRight1, kAnchorAR},  {kAxisTop, kRight1, kRight2},  {kAxisTop, kRight2, kAxisEnd},
    {kAnchorAR, kRight1, kAnchorBR}, {kRight2, kRight1, kAnchorBR}, {kRight2, kAxisEnd, kAnchorBR},
};

bool BuildContourMesh(int32_t width, int32_t height, const Point* points, double strength, ContourMesh* mesh) {
  Point* in = mesh->input;
  for (int i = 0; i < 6; ++i) {
    const Point p = points[kSourcePoints[i]];
    in[i] = {std::clamp(p.x, 0, width - 1), std::clamp(p.y, 0, height - 1)};
  }
  const Point top = in[kAxisTop], end = in[kAxisEnd];
  for (const ContourVertex v : {kLeft1, kLeft2, kRight1, kRight2}) {
    if (OnAxis(in[v], top, end)) return false;
  }
  const Distances d = {AxisDistance(in[kLeft1], top, end), AxisDistance(in[kLeft2], top, end),
                       AxisDistance(in[kRight1], top, end), AxisDistance(in[kRight2], top, end)};
  PlaceAnchors(width, height, d, in);
  std::copy(std::begin(mesh->input), std::end(mesh->input), mesh->output);
  MoveOutline(width, std::clamp(strength, -kStrongest, kStrongest) / 2.5, d, mesh);
  return true;
}

}  // namespace qx
