// Finds the 468 points of a face in a square of the photograph.
#ifndef QX_ENGINE_FACE_MESH_H
#define QX_ENGINE_FACE_MESH_H

#include <optional>

#include "engine/attention.h"
#include "engine/geometry.h"
#include "engine/image.h"
#include "engine/network_pool.h"
#include "engine/networks.h"

namespace qx::face {

struct FaceMesh {
  MeshPoints points;                        // in the photograph
  std::array<double, kMeshPoints> depth{};  // pixels of the photograph, away from the viewer
  std::array<IrisPoints, 2> irises{};       // the left eye's first; zero where the mesh was not refined
  double presence = 0;                      // 0 to 1: whether the region holds a face
};

// The square of the photograph in which the network sees a box's face best.
Region RegionOfBox(Point centre, double side, double angle);

// The same from an earlier mesh: its extent in the frame of the eyes.
Region RegionOfMesh(const MeshPoints& points);

// Direction from the left to the right outer eye corner.
double EyeAngle(const MeshPoints& points);

// The square that is reported as the face: 1.8 times the distance of the outer eye corners, from 0.55 of that above
// the eyes to the chin. Foreshortened eyes of a face in profile count by the height of the face.
struct FaceSquare {
  Point centre;
  double side = 0;
};
FaceSquare SquareOfMesh(const MeshPoints& points);

enum class LandmarkDetail {
  kBase,  // only the mesh
  kFull,  // also what refines it
};

class FaceMeshNetwork {
 public:
  // Throws when the networks cannot be loaded.
  explicit FaceMeshNetwork(LandmarkDetail detail);

  // Finds the mesh of the face in `region`. With `refine` (only with LandmarkDetail::kFull) the points of lips, eyes
  // and brows come from the parts that look closer. False when the network gives no usable numbers; throws when it
  // cannot be run.
  bool Find(const GreyView& image, const Region& region, bool refine, FaceMesh* mesh) const;

 private:
  NetworkUser<MeshNetwork> mesh_;
  std::optional<NetworkUser<RefiningNetworks>> refining_;
};

}  // namespace qx::face

#endif  // QX_ENGINE_FACE_MESH_H
