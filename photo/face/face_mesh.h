// The points of a face between the pixels, with as much depth as a head's pose takes.
#ifndef QX_PHOTO_FACE_FACE_MESH_H
#define QX_PHOTO_FACE_FACE_MESH_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "photo/base/geometry.h"
#include "qx_face_sdk.h"

namespace qx::photo {

inline constexpr size_t kIrisPoints = 5;  // centre, then four of the rim

// The points around what shows of each eye, the left one first: from its left corner over the upper lid to the right
// corner, which is number 8, and back below.
inline constexpr int kEyeRings[2][16] = {
    {33, 246, 161, 160, 159, 158, 157, 173, 133, 155, 154, 153, 145, 144, 163, 7},
    {362, 398, 384, 385, 386, 387, 388, 466, 263, 249, 390, 373, 374, 380, 381, 382}};
// The outer edge of the lips, from the left corner of the mouth over the upper lip.
inline constexpr int kLipRing[20] = {61,  185, 40,  39,  37,  0,  267, 269, 270, 409,
                                     291, 375, 321, 405, 314, 17, 84,  181, 91,  146};

// In pixels of the picture at hand. Points are those of the canonical face mesh (Kartynnik et al., "Real-time Facial
// Surface Geometry from Monocular Video on Mobile GPUs", 2019); left is left as one looks at an upright face.
struct FaceMesh {
  std::array<PlacePoint, QX_FACE_MESH_POINTS> points;
  bool hasDepth = false;  // whether the engine tells what follows; all zero otherwise
  // Of the points QX_FACE_DEPTH_INDICES in turn, larger away from the viewer, from a zero inside the head.
  std::array<double, QX_FACE_DEPTH_POINTS> depth{};
  std::array<std::array<PlacePoint, kIrisPoints>, 2> irises{};  // the left eye's first

  PlacePoint operator[](int point) const { return points[static_cast<size_t>(point)]; }
  // See ProbedFace::Moved, but not rounded.
  FaceMesh Moved(double left, double top, double scaleX, double scaleY) const;
  // In the photograph of that size turned clockwise.
  FaceMesh Turned(int32_t width, int32_t height, int quarterTurns) const;
};

// What the landmark engine left in its block (qx_face_sdk.h). Nothing without its mark or with numbers that are none.
std::optional<FaceMesh> ReadMesh(const int32_t* block);

}  // namespace qx::photo

#endif  // QX_PHOTO_FACE_FACE_MESH_H
