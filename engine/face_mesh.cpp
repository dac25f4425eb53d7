#include "engine/face_mesh.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "base/exact_math.h"

namespace qx::face {
namespace {

constexpr int kImageSide = 192;  // input of the network
constexpr double kMargin = 1.5;  // side of the region for an extent of the face of 1

// Three equal channels, 0 to 1.
void FillInput(const GreyView& image, const Region& region, float* input) {
  constexpr ptrdiff_t kCells = ptrdiff_t{kImageSide} * kImageSide;
  SampleRegion(image, region, kImageSide, input);
  for (ptrdiff_t i = kCells - 1; i >= 0; --i) {  // from behind, where every cell still is to be read
    const float value = input[i] / 255;
    for (ptrdiff_t channel = 0; channel < 3; ++channel) input[3 * i + channel] = value;
  }
}

void RefinePart(nn::Runtime* part, const float* map, const MeshSubset& subset, const MeshPoints& base,
                MeshPoints* refined, IrisPoints* iris = nullptr) {
  const Affine transform = PatchTransform(base, subset);
  SamplePatch(map, transform, part->Input(0));
  Run(part);
  PlacePoints(part->Output(0), transform, subset, refined);
  if (iris == nullptr) return;
  for (size_t i = 0; i < iris->size(); ++i) (*iris)[i] = PlacePoint(part->Output(1) + 2 * i, transform);
}

}  // namespace

Region RegionOfBox(Point centre, double side, double angle) {
  return {centre, kMargin * side, angle};
}

double EyeAngle(const MeshPoints& points) {
  const Point along = points[kRightEyeCorner] - points[kLeftEyeCorner];
  return exact::Atan2(along.y, along.x);
}

Region RegionOfMesh(const MeshPoints& points) {
  const double angle = EyeAngle(points), c = exact::Cos(angle), s = exact::Sin(angle);
  Box box{1e30, 1e30, -1e30, -1e30};
  for (const Point& p : points) {
    const double u = p.x * c + p.y * s, v = p.y * c - p.x * s;
    box = {std::min(box.left, u), std::min(box.top, v), std::max(box.right, u), std::max(box.bottom, v)};
  }
  const double u = (box.left + box.right) / 2, v = (box.top + box.bottom) / 2;
  return RegionOfBox({u * c - v * s, u * s + v * c}, std::max(box.right - box.left, box.bottom - box.top), angle);
}

FaceSquare SquareOfMesh(const MeshPoints& points) {
  constexpr double kSide = 1.8, kAboveEyes = 0.55;
  const Point eyes = Mean(points[kLeftEyeCorner], points[kRightEyeCorner]);
  const double angle = EyeAngle(points);
  const Point down{-exact::Sin(angle), exact::Cos(angle)};
  const Point toChin = points[kChin] - eyes;
  const double chin = toChin.x * down.x + toChin.y * down.y;
  const double unit = std::max(Distance(points[kLeftEyeCorner], points[kRightEyeCorner]), chin / (kSide - kAboveEyes));
  return {eyes + (unit * (kSide / 2 - kAboveEyes)) * down, kSide * unit};
}

FaceMeshNetwork::FaceMeshNetwork(LandmarkDetail detail) {
  if (detail == LandmarkDetail::kFull) refining_.emplace();
}

bool FaceMeshNetwork::Find(const GreyView& image, const Region& region, bool refine, FaceMesh* mesh) const {
  const auto base = mesh_.Borrow();
  FillInput(image, region, base->network->Input(0));
  Run(base->network.get());
  const float* raw = base->network->Output(0);
  for (size_t i = 0; i < mesh->points.size(); ++i) {
    mesh->points[i] = {raw[3 * i], raw[3 * i + 1]};
    mesh->depth[i] = raw[3 * i + 2] * region.side / kImageSide;
  }
  mesh->presence = 1 / (1 + exact::Exp(-static_cast<double>(base->network->Output(2)[0])));
  if (refine) {
    const auto parts = refining_->Borrow();
    const MeshPoints points = mesh->points;
    const float* map = base->network->Output(1);
    RefinePart(parts->lips.get(), map, kLips, points, &mesh->points);
    RefinePart(parts->leftEye.get(), map, kLeftEye, points, &mesh->points, &mesh->irises[0]);
    RefinePart(parts->rightEye.get(), map, kRightEye, points, &mesh->points, &mesh->irises[1]);
  }
  bool finite = std::isfinite(mesh->presence);
  const auto place = [&](Point& p) {
    finite = finite && std::isfinite(p.x) && std::isfinite(p.y);
    p = FromRegion(region, p.x / kImageSide, p.y / kImageSide);
  };
  std::for_each(mesh->points.begin(), mesh->points.end(), place);
  if (refine) {
    for (IrisPoints& iris : mesh->irises) std::for_each(iris.begin(), iris.end(), place);
  }
  return finite;
}

}  // namespace qx::face
