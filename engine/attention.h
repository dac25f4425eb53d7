// The geometry between the parts of the landmark network: a part looks at a turned square of the feature map around
// its mesh points, and its points replace those of the mesh (Grishchenko et al., "Attention Mesh: High-fidelity Face
// Mesh Prediction in Real-time", 2020).
#ifndef QX_ENGINE_ATTENTION_H
#define QX_ENGINE_ATTENTION_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "engine/geometry.h"
#include "engine/tables.h"

namespace qx::face {

using MeshPoints = std::array<Point, kMeshPoints>;
using IrisPoints = std::array<Point, kIrisPoints>;

constexpr int kMapSide = 48;        // cells of the feature map on a side
constexpr int kMapChannels = 32;    // values a cell
constexpr int kPatchSide = 16;      // cells of a part's input on a side
constexpr double kMapScale = 0.25;  // map cells a pixel of the network's image

// p -> (xx * p.x + xy * p.y + x0, yx * p.x + yy * p.y + y0)
struct Affine {
  double xx, xy, x0;
  double yx, yy, y0;
};

// The mesh points that a part replaces, and the two whose direction its patch takes.
struct MeshSubset {
  const int16_t* indices;
  size_t count;
  int16_t left;
  int16_t right;
};
extern const MeshSubset kLips;
extern const MeshSubset kLeftEye;
extern const MeshSubset kRightEye;

// From cells of the patch to cells of the map: the box of the points in their turned frame, enlarged by half.
// mesh: in pixels of the network's image.
Affine PatchTransform(const MeshPoints& mesh, const MeshSubset& subset);

// Samples the map (kMapSide x kMapSide x kMapChannels) bilinearly at the patch's whole positions; cells outside of the
// map are 0. patch: kPatchSide x kPatchSide x kMapChannels values.
void SamplePatch(const float* map, const Affine& transform, float* patch);

// Replaces the subset's points by a part's output, (x, y) pairs in the patch at the network's image scale.
void PlacePoints(const float* points, const Affine& transform, const MeshSubset& subset, MeshPoints* mesh);
// Where one such pair lies in the network's image.
Point PlacePoint(const float* pair, const Affine& transform);

}  // namespace qx::face

#endif  // QX_ENGINE_ATTENTION_H
