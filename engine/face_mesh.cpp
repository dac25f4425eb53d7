#include "engine/face_mesh.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace qx::face {
namespace {

constexpr int kImageSide = 192;  // input of the network
constexpr double kMargin = 1.5;  // side of the region for an extent of the face of 1

bool RefinePart(nn::Runtime* part, const float* map, const MeshSubset& subset, const MeshPoints& base,
                MeshPoints* refined) {
  const Affine transform = PatchTransform(base, subset);
  SamplePatch(map, transform, part->Input(0));
  if (!part->Run()) return false;
  PlacePoints(part->Output(0), transform, subset, refined);
  return true;
}

}  // namespace

Region RegionOfBox(Point centre, double side, double angle) {
  return {centre, kMargin * side, angle};
}

double EyeAngle(const MeshPoints& points) {
  const Point along = points[kRightEyeCorner] - points[kLeftEyeCorner];
  return std::atan2(along.y, along.x);
}

Region RegionOfMesh(const MeshPoints& points) {
  const double angle = EyeAngle(points), c = std::cos(angle), s = std::sin(angle);
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
  const Point down{-std::sin(angle), std::cos(angle)};
  const Point toChin = points[kChin] - eyes;
  const double chin = toChin.x * down.x + toChin.y * down.y;
  const double unit = std::max(Distance(points[kLeftEyeCorner], points[kRightEyeCorner]), chin / (kSide - kAboveEyes));
  return {eyes + (unit * (kSide / 2 - kAboveEyes)) * down, kSide * unit};
}

std::unique_ptr<FaceMeshNetwork> FaceMeshNetwork::Create(LandmarkDetail detail) {
  LandmarkParts parts;
  if (!LoadLandmarks(detail, &parts)) return nullptr;
  return std::unique_ptr<FaceMeshNetwork>(new FaceMeshNetwork(std::move(parts)));
}

bool FaceMeshNetwork::Find(const GreyView& image, const Region& region, bool refine, FaceMesh* mesh) {
  std::vector<float> grey(static_cast<size_t>(kImageSide) * kImageSide);
  SampleRegion(image, region, kImageSide, grey.data());
  float* input = parts_.base->Input(0);
  for (const float value : grey) {
    for (int channel = 0; channel < 3; ++channel) *input++ = value / 255;
  }
  if (!parts_.base->Run()) return false;
  const float* raw = parts_.base->Output(0);
  for (size_t i = 0; i < mesh->points.size(); ++i) mesh->points[i] = {raw[3 * i], raw[3 * i + 1]};
  mesh->presence = 1 / (1 + std::exp(-static_cast<double>(parts_.base->Output(2)[0])));
  if (refine && !Refine(&mesh->points)) return false;
  bool finite = std::isfinite(mesh->presence);
  for (Point& p : mesh->points) {
    finite = finite && std::isfinite(p.x) && std::isfinite(p.y);
    p = FromRegion(region, p.x / kImageSide, p.y / kImageSide);
  }
  return finite;
}

bool FaceMeshNetwork::Refine(MeshPoints* points) {
  const MeshPoints base = *points;
  const float* map = parts_.base->Output(1);
  return RefinePart(parts_.lips.get(), map, kLips, base, points) &&
         RefinePart(parts_.leftEye.get(), map, kLeftEye, base, points) &&
         RefinePart(parts_.rightEye.get(), map, kRightEye, base, points);
}

}  // namespace qx::face
