#include "photo/face/head_pose.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "base/exact_math.h"

namespace qx::photo {
namespace {

struct CanonicalPoint {
  int index;
  SpacePoint place;  // centimetres
  double weight;
};

// The points of the canonical face by which its pose is found, with their weights: the data of the face geometry that
// comes with the landmark network, under the network's licence. In the order of QX_FACE_DEPTH_INDICES.
constexpr CanonicalPoint kCanonical[] = {
    {4, {0, -0.463169992, 7.5865798}, 0.0709099397},
    {6, {0, 2.47325492, 5.78862715}, 0.0321001448},
    {10, {0, 8.26177788, 4.48153496}, 0.00844655093},
    {33, {-4.44585896, 2.66399097, 3.1734221}, 0.0587241687},
    {54, {-6.27933121, 6.61542702, 1.42585003}, 0.00766708003},
    {67, {-3.52396393, 8.00597572, 3.72916293}, 0.00907805935},
    {117, {-5.25865889, 0.945810974, 2.97431207}, 0.00979193766},
    {119, {-3.30068111, 0.86164099, 3.8727839}, 0.0145653682},
    {121, {-1.82073104, 1.46795404, 4.22412395}, 0.0185913611},
    {127, {-7.74309492, 2.36499906, -2.00516701}, 0.00519799441},
    {129, {-1.78579402, -0.978284001, 4.85047007}, 0.120625205},
    {132, {-7.270895, -2.89091706, -2.252455}, 0.00556001859},
    {133, {-1.85643196, 2.58524489, 3.75790405}, 0.0532861836},
    {136, {-5.08527613, -7.17858982, 0.71471101}, 0.0668904558},
    {143, {-6.40757084, 2.23602104, 1.56084299}, 0.0148165477},
    {147, {-6.23488283, -1.94442999, 1.66354203}, 0.0142628336},
    {198, {-1.24681497, 0.230296999, 5.681036}, 0.0254621916},
    {205, {-3.83292794, -1.53732598, 4.13773108}, 0.0472522788},
    {263, {4.44585896, 2.66399097, 3.1734221}, 0.0587241687},
    {284, {6.27933121, 6.61542702, 1.42585003}, 0.00766708003},
    {297, {3.52396393, 8.00597572, 3.72916293}, 0.00907805935},
    {346, {5.25865889, 0.945810974, 2.97431207}, 0.00979193766},
    {348, {3.30068111, 0.86164099, 3.8727839}, 0.0145653682},
    {350, {1.82073104, 1.46795404, 4.22412395}, 0.0185913611},
    {356, {7.74309492, 2.36499906, -2.00516701}, 0.00519799441},
    {358, {1.78579402, -0.978284001, 4.85047007}, 0.120625205},
    {361, {7.270895, -2.89091706, -2.252455}, 0.00556001859},
    {362, {1.85643196, 2.58524489, 3.75790405}, 0.0532861836},
    {365, {5.08527613, -7.17858982, 0.71471101}, 0.0668904558},
    {372, {6.40757084, 2.23602104, 1.56084299}, 0.0148165477},
    {376, {6.23488283, -1.94442999, 1.66354203}, 0.0142628336},
    {420, {1.24681497, 0.230296999, 5.681036}, 0.0254621916},
    {425, {3.83292794, -1.53732598, 4.13773108}, 0.0472522788},
};
static_assert(sizeof kCanonical / sizeof kCanonical[0] == kFittedPoints,
              "the mouth follows the points that are fitted");

constexpr int kDepthIndices[] = QX_FACE_DEPTH_INDICES;

using Matrix3 = std::array<std::array<double, 3>, 3>;
using Matrix4 = std::array<std::array<double, 4>, 4>;

SpacePoint operator-(const SpacePoint& a, const SpacePoint& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

std::array<double, 3> Values(const SpacePoint& p) {
  return {p.x, p.y, p.z};
}

// Towards the viewer instead of away, up instead of down.
SpacePoint SeenPoint(const FaceMesh& mesh, size_t i) {
  const PlacePoint p = mesh[kDepthIndices[i]];
  return {p.x, -p.y, -mesh.depth[i]};
}

// The unit vector of a symmetric matrix's largest eigenvalue, by Jacobi's rotations.
std::array<double, 4> LargestEigenvector(Matrix4 m) {
  Matrix4 vectors{};
  for (size_t i = 0; i < 4; ++i) vectors[i][i] = 1;
  constexpr int kSweeps = 30;  // half a dozen are enough
  for (int sweep = 0; sweep < kSweeps; ++sweep) {
    for (size_t p = 0; p < 3; ++p) {
      for (size_t q = p + 1; q < 4; ++q) {
        if (m[p][q] == 0) continue;
        const double theta = (m[q][q] - m[p][p]) / (2 * m[p][q]);
        const double t = (theta < 0 ? -1 : 1) / (std::abs(theta) + std::sqrt(theta * theta + 1));
        const double c = 1 / std::sqrt(t * t + 1), s = t * c;
        const auto rotate = [c, s](double& a, double& b) {
          const double old = a;
          a = c * old - s * b;
          b = s * old + c * b;
        };
        for (size_t k = 0; k < 4; ++k) rotate(m[k][p], m[k][q]);
        for (size_t k = 0; k < 4; ++k) rotate(m[p][k], m[q][k]);
        for (size_t k = 0; k < 4; ++k) rotate(vectors[k][p], vectors[k][q]);
        m[p][q] = m[q][p] = 0;
      }
    }
  }
  size_t best = 0;
  for (size_t i = 1; i < 4; ++i) best = m[i][i] > m[best][best] ? i : best;
  return {vectors[0][best], vectors[1][best], vectors[2][best], vectors[3][best]};
}

// Horn's matrix of the sums s[i][j] of canonical coordinate i times seen coordinate j.
Matrix4 HornMatrix(const Matrix3& s) {
  const double d1 = s[1][2] - s[2][1], d2 = s[2][0] - s[0][2], d3 = s[0][1] - s[1][0];
  const double xy = s[0][1] + s[1][0], zx = s[2][0] + s[0][2], yz = s[1][2] + s[2][1];
  return {{{s[0][0] + s[1][1] + s[2][2], d1, d2, d3},
           {d1, s[0][0] - s[1][1] - s[2][2], xy, zx},
           {d2, xy, s[1][1] - s[0][0] - s[2][2], yz},
           {d3, zx, yz, s[2][2] - s[0][0] - s[1][1]}}};
}

Matrix3 RotationOf(const std::array<double, 4>& q) {
  const auto [w, x, y, z] = q;
  return {{{w * w + x * x - y * y - z * z, 2 * (x * y - w * z), 2 * (x * z + w * y)},
           {2 * (x * y + w * z), w * w - x * x + y * y - z * z, 2 * (y * z - w * x)},
           {2 * (x * z - w * y), 2 * (y * z + w * x), w * w - x * x - y * y + z * z}}};
}

// Canonical points and those that were seen, about their weighted means.
struct Centred {
  SpacePoint canonical, seen;  // the means
  Matrix3 products{};          // canonical times seen
  double size = 0;             // weighted square of the canonical ones
};

Centred Centre(const FaceMesh& mesh) {
  Centred sums;
  double weight = 0;
  const auto add = [](const SpacePoint& p, double w, SpacePoint* sum) {
    *sum = {sum->x + w * p.x, sum->y + w * p.y, sum->z + w * p.z};
  };
  for (size_t i = 0; i < kFittedPoints; ++i) {
    add(kCanonical[i].place, kCanonical[i].weight, &sums.canonical);
    add(SeenPoint(mesh, i), kCanonical[i].weight, &sums.seen);
    weight += kCanonical[i].weight;
  }
  const auto divide = [weight](SpacePoint* p) { *p = {p->x / weight, p->y / weight, p->z / weight}; };
  divide(&sums.canonical);
  divide(&sums.seen);
  for (size_t i = 0; i < kFittedPoints; ++i) {
    const auto a = Values(kCanonical[i].place - sums.canonical), b = Values(SeenPoint(mesh, i) - sums.seen);
    for (size_t j = 0; j < 3; ++j) {
      sums.size += kCanonical[i].weight * a[j] * a[j];
      for (size_t k = 0; k < 3; ++k) sums.products[j][k] += kCanonical[i].weight * a[j] * b[k];
    }
  }
  return sums;
}

}  // namespace

SpacePoint CanonicalPlace(size_t i) {
  return kCanonical[i].place;
}

std::optional<HeadPose> FindHeadPose(const FaceMesh& mesh) {
  if (!mesh.hasDepth) return std::nullopt;
  const Centred sums = Centre(mesh);
  const Matrix3 r = RotationOf(LargestEigenvector(HornMatrix(sums.products)));
  double scale = 0;
  for (size_t j = 0; j < 3; ++j) {
    for (size_t k = 0; k < 3; ++k) scale += r[k][j] * sums.products[j][k];
  }
  scale /= sums.size;
  if (!(scale > 1e-9)) return std::nullopt;
  constexpr double kDegrees = 180 / 3.14159265358979323846;
  HeadPose pose;
  pose.yaw = exact::Atan2(r[0][2], r[2][2]) * kDegrees;
  pose.pitch = exact::Asin(std::clamp(-r[1][2], -1.0, 1.0)) * kDegrees;
  pose.roll = exact::Atan2(r[1][0], r[1][1]) * kDegrees;
  for (size_t i = 0; i < pose.mouth.size(); ++i) {
    const auto d = Values(SeenPoint(mesh, kFittedPoints + i) - sums.seen);
    const auto back = [&](size_t axis) { return (r[0][axis] * d[0] + r[1][axis] * d[1] + r[2][axis] * d[2]) / scale; };
    pose.mouth[i] = {back(0) + sums.canonical.x, back(1) + sums.canonical.y, back(2) + sums.canonical.z};
  }
  return pose;
}

}  // namespace qx::photo
