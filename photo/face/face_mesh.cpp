#include "photo/face/face_mesh.h"

#include <cmath>
#include <cstring>

namespace qx::photo {
namespace {

template <typename Change>
void ChangePoints(FaceMesh* mesh, Change change) {
  for (PlacePoint& p : mesh->points) p = change(p);
  if (!mesh->hasDepth) return;
  for (auto& iris : mesh->irises) {
    for (PlacePoint& p : iris) p = change(p);
  }
}

// Reads floats one after the other and sees whether all of them are numbers.
class FloatReader {
 public:
  explicit FloatReader(const int32_t* from) : from_(from) {}
  double Next() {
    float value;
    std::memcpy(&value, from_++, sizeof value);
    finite_ = finite_ && std::isfinite(value);
    return value;
  }
  PlacePoint NextPoint() {
    const double x = Next();
    return {x, Next()};
  }
  bool Finite() const { return finite_; }

 private:
  const int32_t* from_;
  bool finite_ = true;
};

}  // namespace

FaceMesh FaceMesh::Moved(double left, double top, double scaleX, double scaleY) const {
  FaceMesh moved = *this;
  ChangePoints(&moved, [=](PlacePoint p) { return PlacePoint{(p.x - left) * scaleX, (p.y - top) * scaleY}; });
  for (double& z : moved.depth) z *= (scaleX + scaleY) / 2;
  return moved;
}

FaceMesh FaceMesh::Turned(int32_t width, int32_t height, int quarterTurns) const {
  FaceMesh turned = *this;
  ChangePoints(&turned, [=](PlacePoint p) -> PlacePoint {
    switch (quarterTurns) {
      case 1: return {height - p.y, p.x};
      case 2: return {width - p.x, height - p.y};
      case 3: return {p.y, width - p.x};
      default: return p;
    }
  });
  return turned;
}

std::optional<FaceMesh> ReadMesh(const int32_t* block) {
  if (block[0] != QX_FACE_BLOCK_MARK) return std::nullopt;
  FaceMesh mesh;
  FloatReader points(block + 1);
  for (PlacePoint& p : mesh.points) p = points.NextPoint();
  if (!points.Finite()) return std::nullopt;
  if (block[QX_FACE_BLOCK_DEPTHS] != QX_FACE_DEPTH_MARK) return mesh;
  FaceMesh whole = mesh;
  whole.hasDepth = true;
  FloatReader more(block + QX_FACE_BLOCK_DEPTHS + 1);
  for (double& z : whole.depth) z = more.Next();
  for (auto& iris : whole.irises) {
    for (PlacePoint& p : iris) p = more.NextPoint();
  }
  return more.Finite() ? whole : mesh;
}

}  // namespace qx::photo
