#include "engine/attention.h"

#include <algorithm>
#include <cmath>

#include "base/exact_math.h"

namespace qx::face {
namespace {

// Adds `weight` times the cell at (x, y) to the sums.
void AddCell(const float* map, double x, double y, double weight, float* sums) {
  if (!(x >= 0 && y >= 0 && x < kMapSide && y < kMapSide) || weight == 0) return;
  const ptrdiff_t cell = static_cast<ptrdiff_t>(y) * kMapSide + static_cast<ptrdiff_t>(x);
  const float* values = map + cell * kMapChannels;
  const float share = static_cast<float>(weight);
  for (int c = 0; c < kMapChannels; ++c) sums[c] += share * values[c];
}

}  // namespace

const MeshSubset kLips = {kLipsSubset.data(), kLipsSubset.size(), 61, 291};
const MeshSubset kLeftEye = {kLeftEyeSubset.data(), kLeftEyeSubset.size(), 33, 133};
const MeshSubset kRightEye = {kRightEyeSubset.data(), kRightEyeSubset.size(), 362, 263};

Affine PatchTransform(const MeshPoints& mesh, const MeshSubset& subset) {
  const auto at = [&mesh](int index) { return mesh[static_cast<size_t>(index)]; };
  const Point direction = at(subset.right) - at(subset.left);
  const double angle = exact::Atan2(direction.y, direction.x), c = exact::Cos(angle), s = exact::Sin(angle);
  Box box{1e30, 1e30, -1e30, -1e30};
  for (size_t i = 0; i < subset.count; ++i) {
    const Point p = kMapScale * at(subset.indices[i]);
    const double u = p.x * c + p.y * s, v = p.y * c - p.x * s;
    box = {std::min(box.left, u), std::min(box.top, v), std::max(box.right, u), std::max(box.bottom, v)};
  }
  constexpr double kEnlarged = 1.5;
  const double stepX = (box.right - box.left) * kEnlarged / kPatchSide;
  const double stepY = (box.bottom - box.top) * kEnlarged / kPatchSide;
  const double u0 = (box.left + box.right) / 2 - stepX * kPatchSide / 2;
  const double v0 = (box.top + box.bottom) / 2 - stepY * kPatchSide / 2;
  return {c * stepX, -s * stepY, u0 * c - v0 * s, s * stepX, c * stepY, u0 * s + v0 * c};
}

void SamplePatch(const float* map, const Affine& transform, float* patch) {
  for (int v = 0; v < kPatchSide; ++v) {
    for (int u = 0; u < kPatchSide; ++u, patch += kMapChannels) {
      const double x = transform.xx * u + transform.xy * v + transform.x0;
      const double y = transform.yx * u + transform.yy * v + transform.y0;
      const double x0 = std::floor(x), y0 = std::floor(y), fx = x - x0, fy = y - y0;
      std::fill_n(patch, kMapChannels, 0.0F);
      AddCell(map, x0, y0, (1 - fx) * (1 - fy), patch);
      AddCell(map, x0 + 1, y0, fx * (1 - fy), patch);
      AddCell(map, x0, y0 + 1, (1 - fx) * fy, patch);
      AddCell(map, x0 + 1, y0 + 1, fx * fy, patch);
    }
  }
}

Point PlacePoint(const float* pair, const Affine& transform) {
  const double u = pair[0], v = pair[1];
  return {transform.xx * u + transform.xy * v + transform.x0 / kMapScale,
          transform.yx * u + transform.yy * v + transform.y0 / kMapScale};
}

void PlacePoints(const float* points, const Affine& transform, const MeshSubset& subset, MeshPoints* mesh) {
  for (size_t i = 0; i < subset.count; ++i) {
    (*mesh)[static_cast<size_t>(subset.indices[i])] = PlacePoint(points + 2 * i, transform);
  }
}

}  // namespace qx::face
