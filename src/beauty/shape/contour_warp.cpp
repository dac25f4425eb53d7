#include "beauty/shape/contour_warp.h"

#include <algorithm>
#include <cmath>

#include "base/buffer.h"
#include "beauty/shape/contour_mesh.h"
#include "kernels/beauty_kernels.h"

namespace qx {
namespace {

struct Planes {
  SampleSource image;
  const uint8_t* mask;  // null together with maskOut
  uint8_t* imageOut;
  uint8_t* maskOut;
};

// Twice the signed area of a triangle, exact.
int64_t Cross(Point a, Point b, Point c) {
  return (int64_t{b.x} - a.x) * (int64_t{c.y} - a.y) - (int64_t{c.x} - a.x) * (int64_t{b.y} - a.y);
}

// A coordinate of the input as a map of output positions: (x * alongX + y * alongY + constant) / determinant.
struct AffineRow {
  double alongX, alongY, constant;
};

// One triangle with all that does not depend on the pixel. The vertices are whole numbers, so the determinants are
// exact and a whole input position comes out whole.
struct TriangleMap {
  Point out[3];
  int64_t determinant;
  AffineRow x, y;
  float area;
};

float Area(Point a, Point b, Point c) {
  return static_cast<float>(std::fabs(static_cast<double>(Cross(a, b, c))) * 0.5);
}

// The row of Mi * inverse(Mo) times the determinant, for the values that the three input vertices have.
AffineRow MapRow(const Point* out, double v0, double v1, double v2) {
  const double x0 = out[0].x, y0 = out[0].y, x1 = out[1].x, y1 = out[1].y, x2 = out[2].x, y2 = out[2].y;
  return {v0 * (y1 - y2) + v1 * (y2 - y0) + v2 * (y0 - y1), v0 * (x2 - x1) + v1 * (x0 - x2) + v2 * (x1 - x0),
          v0 * (x1 * y2 - x2 * y1) + v1 * (x2 * y0 - x0 * y2) + v2 * (x0 * y1 - x1 * y0)};
}

bool MakeTriangle(const ContourMesh& mesh, const ContourVertex* vertices, TriangleMap* map) {
  Point in[3];
  for (int i = 0; i < 3; ++i) {
    in[i] = mesh.input[vertices[i]];
    map->out[i] = mesh.output[vertices[i]];
  }
  const Point* out = map->out;
  map->determinant = Cross(out[0], out[1], out[2]);
  if (map->determinant == 0 || Cross(in[0], in[1], in[2]) == 0) return false;
  map->x = MapRow(out, in[0].x, in[1].x, in[2].x);
  map->y = MapRow(out, in[0].y, in[1].y, in[2].y);
  map->area = Area(out[0], out[1], out[2]);
  return true;
}

// By single-precision areas: that of the triangle against the sum of the three that the pixel forms with its edges.
// Pixels on an edge are inside.
bool IsInside(const TriangleMap& map, Point p) {
  const float parts =
      Area(p, map.out[0], map.out[1]) + Area(p, map.out[1], map.out[2]) + Area(p, map.out[2], map.out[0]);
  const float difference = map.area - parts;
  return difference > -0.0001f && difference < 0.0001f;
}

// Columns of one row, first to last.
struct Run {
  int64_t first, last;
};

int64_t FloorDivide(int64_t a, int64_t positive) {
  return a >= 0 ? a / positive : -((-a + positive - 1) / positive);
}

// What of a run of row y lies in the triangle, edges included.
Run Inside(const TriangleMap& map, int32_t y, Run run) {
  const int64_t sign = map.determinant < 0 ? -1 : 1;
  for (int i = 0; i < 3; ++i) {
    const Point a = map.out[i], b = map.out[(i + 1) % 3];
    // start + slope * x is 0 on the edge and positive on the triangle's side.
    const int64_t slope = sign * (int64_t{a.y} - b.y);
    const int64_t start = sign * Cross(a, b, {0, y});
    if (slope > 0) {
      run.first = std::max(run.first, -FloorDivide(start, slope));
    } else if (slope < 0) {
      run.last = std::min(run.last, FloorDivide(start, -slope));
    } else if (start < 0) {
      return {0, -1};
    }
  }
  return run;
}

void DrawRun(const Planes& planes, const TriangleMap& map, int32_t y, Run run) {
  if (run.last < run.first) return;
  const AffineRun affine = {map.x.alongX,
                            map.x.alongY * y,
                            map.x.constant,
                            map.y.alongX,
                            map.y.alongY * y,
                            map.y.constant,
                            static_cast<double>(map.determinant),
                            static_cast<int32_t>(run.first)};
  const auto at = static_cast<size_t>(int64_t{y} * planes.image.width + run.first);
  ActiveBeautyKernels().affineSamples(planes.image, planes.mask, affine, static_cast<size_t>(run.last - run.first + 1),
                                      planes.imageOut + at * 3, planes.mask == nullptr ? nullptr : planes.maskOut + at);
}

// The last column and row of the triangle's box are left out.
void DrawTriangle(const Planes& planes, const TriangleMap& map) {
  // Areas are multiples of a half, and floats hold those exactly below 2^23. Then only a pixel in the triangle, edges
  // included, has parts that add up to the area: others exceed it by a half or more, and where their sum is too large
  // to be exact, it is twice the area at least.
  constexpr float kExactArea = 0x1p22f;
  const Point* v = map.out;
  const auto [left, right] = std::minmax({v[0].x, v[1].x, v[2].x});
  const auto [top, bottom] = std::minmax({v[0].y, v[1].y, v[2].y});
  const Run columns = {std::max(left, 0), int64_t{std::min(right, planes.image.width)} - 1};
  for (int32_t y = std::max(top, 0); y < std::min(bottom, planes.image.height); ++y) {
    if (map.area < kExactArea) {
      DrawRun(planes, map, y, Inside(map, y, columns));
      continue;
    }
    const auto inside = [&map, y](int64_t x) { return IsInside(map, {static_cast<int32_t>(x), y}); };
    for (int64_t x = columns.first; x <= columns.last; ++x) {
      const int64_t first = x;
      while (x <= columns.last && inside(x)) ++x;
      DrawRun(planes, map, y, {first, x - 1});
    }
  }
}

}  // namespace

Status ContourWarp(const ImageView& image, const uint8_t* mask, const Point* points, double strength, uint8_t* imageOut,
                   uint8_t* maskOut) {
  if (image.pixels == nullptr || imageOut == nullptr || image.Empty()) return Status::kBadArgument;
  CopyBytes(imageOut, image.pixels, image.Bytes());
  if (mask != nullptr) CopyBytes(maskOut, mask, image.Pixels());
  // A strength that is no number gives no position, so no pixel moves either.
  if (strength == 0 || std::isnan(strength)) return Status::kOk;
  ContourMesh mesh;
  if (!BuildContourMesh(image.width, image.height, points, strength, &mesh)) return Status::kBadArgument;
  const Planes planes = {{image.pixels, image.width, image.height}, mask, imageOut, maskOut};
  for (const auto& vertices : kContourTriangleVertices) {
    TriangleMap map;
    if (MakeTriangle(mesh, vertices, &map)) DrawTriangle(planes, map);
  }
  return Status::kOk;
}

}  // namespace qx
