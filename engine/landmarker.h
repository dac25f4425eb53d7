// Describes one face: points, openness of eyes and mouth.
#ifndef QX_ENGINE_LANDMARKER_H
#define QX_ENGINE_LANDMARKER_H

#include <array>
#include <cstdint>

#include "engine/face_mesh.h"
#include "engine/image.h"

namespace qx::face {

// A pixel of the photograph; a point that lies outside is at most one image size away.
struct Pixel {
  int32_t x = 0;
  int32_t y = 0;
};

struct FaceDescription {
  int32_t presence = 0;  // thousandths
  int32_t turn = 0;      // whole quarter turns clockwise
  int32_t roll = 0;      // rest of the turn, hundredths of a degree
  std::array<Pixel, 11> keyPoints{};
  std::array<Pixel, 38> landmarks{};
  int32_t leftEyeOpen = 0;   // 800 x the opening by the width
  int32_t rightEyeOpen = 0;  // likewise
  int32_t mouthOpen = 0;     // 1000 x the opening by the width
  FaceMesh mesh{};
};

class Landmarker {
 public:
  // Throws when the networks cannot be loaded.
  Landmarker() : network_(LandmarkDetail::kFull) {}

  // corners: the face's square, clamped to the image or not; roll: what its quarter turn leaves, hundredths of a
  // degree. False when the network gives no usable numbers; throws when memory is short.
  bool Describe(const GreyView& image, const int32_t corners[8], int32_t roll, FaceDescription* description) const;

 private:
  bool FindMesh(const GreyView& image, const Region& region, FaceMesh* mesh) const;

  FaceMeshNetwork network_;
};

// The 88 points of the dense description, from a description's mesh.
std::array<Pixel, 88> AttributePoints(const GreyView& image, const MeshPoints& mesh);

}  // namespace qx::face

#endif  // QX_ENGINE_LANDMARKER_H
