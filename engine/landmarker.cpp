#include "engine/landmarker.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "engine/tables.h"

namespace qx::face {
namespace {

// Extent of a face's mesh for a square of 1 (1.00 to 1.04 on photographs).
constexpr double kExtentOfSquare = 1.02;

constexpr double kPresent = 0.5;

Point At(const MeshPoints& mesh, int index) {
  return mesh[static_cast<size_t>(index)];
}

Point RingCentre(const std::array<int16_t, 16>& ring, const MeshPoints& mesh) {
  Point sum;
  for (const int16_t index : ring) sum = sum + At(mesh, index);
  return (1.0 / static_cast<double>(ring.size())) * sum;
}

// Opening by width, times `scale`; 0 for a mesh that is collapsed to a point.
int32_t Ratio(double scale, double opening, double width) {
  constexpr double kMost = 1000000;
  return width > 0 ? FloorTo(scale * opening / width + 0.5, 0, kMost) : 0;
}

int32_t EyeOpening(const EyeGaps& gaps, const MeshPoints& mesh) {
  double sum = 0;
  for (const auto& pair : gaps.lids) sum += Distance(At(mesh, pair[0]), At(mesh, pair[1]));
  return Ratio(800, sum / 3, Distance(At(mesh, gaps.corners[0]), At(mesh, gaps.corners[1])));
}

int32_t MouthOpening(const MeshPoints& mesh) {
  return Ratio(1000, Distance(mesh[kUpperLip], mesh[kLowerLip]), Distance(mesh[kMouthLeft], mesh[kMouthRight]));
}

Pixel PixelAt(Point p, const GreyView& image) {
  return {PixelOf(p.x, image.width), PixelOf(p.y, image.height)};
}

template <size_t n>
std::array<Pixel, n> PixelsOf(const std::array<PointRule, n>& rules, const MeshPoints& mesh, const GreyView& image) {
  std::array<Pixel, n> pixels{};
  for (size_t i = 0; i < n; ++i) pixels[i] = PixelAt(Mean(At(mesh, rules[i].first), At(mesh, rules[i].second)), image);
  return pixels;
}

}  // namespace

bool Landmarker::FindMesh(const GreyView& image, const Region& region, FaceMesh* mesh) const {
  if (!network_.Find(image, region, false, mesh)) return false;
  const Region second = mesh->presence >= kPresent ? RegionOfMesh(mesh->points) : region;
  return network_.Find(image, second, true, mesh);
}

bool Landmarker::Describe(const GreyView& image, const int32_t corners[8], int32_t roll,
                          FaceDescription* description) const {
  const CornerFrame frame = FrameOfCorners(corners, image.width, image.height);
  const double angle = TurnAngle(frame.turn) + Radians(roll / 100.0);
  FaceMesh mesh;
  if (!FindMesh(image, RegionOfBox(frame.centre, kExtentOfSquare * frame.side, angle), &mesh)) return false;

  const MeshPoints& points = mesh.points;
  FaceDescription& d = *description;
  d.presence = FloorTo(1000 * mesh.presence + 0.5, 0, 1000);
  d.turn = NearestTurn(EyeAngle(points));
  d.roll = FloorTo(100 * Degrees(FineRoll(EyeAngle(points), d.turn)) + 0.5, -4500, 4500);
  d.keyPoints[0] = PixelAt(RingCentre(kLeftEyeRing, points), image);
  d.keyPoints[1] = PixelAt(RingCentre(kRightEyeRing, points), image);
  const auto others = PixelsOf(kKeyPointRules, points, image);
  std::copy(others.begin(), others.end(), d.keyPoints.begin() + kEyeCentres);
  d.landmarks = PixelsOf(kLandmarkRules, points, image);
  d.leftEyeOpen = EyeOpening(kLeftEyeGaps, points);
  d.rightEyeOpen = EyeOpening(kRightEyeGaps, points);
  d.mouthOpen = MouthOpening(points);
  d.mesh = mesh;
  return true;
}

std::array<Pixel, 88> AttributePoints(const GreyView& image, const MeshPoints& mesh) {
  return PixelsOf(kAttributeRules, mesh, image);
}

}  // namespace qx::face
