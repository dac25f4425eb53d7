// How a head is turned, from its points and their depth.
#ifndef QX_PHOTO_FACE_HEAD_POSE_H
#define QX_PHOTO_FACE_HEAD_POSE_H

#include <array>
#include <cstddef>
#include <optional>

#include "photo/face/face_mesh.h"

namespace qx::photo {

// x to the right, y up, z towards the viewer.
struct SpacePoint {
  double x = 0, y = 0, z = 0;
};

// The points of the canonical face by which a pose is found, in centimetres, in the order of QX_FACE_DEPTH_INDICES.
inline constexpr size_t kFittedPoints = QX_FACE_DEPTH_POINTS - 4;
SpacePoint CanonicalPlace(size_t i);

// What level heads read on the average: where a head counts as level hangs on its shape. Degrees.
inline constexpr double kLevelPitch = 3.5;

struct HeadPose {
  // Degrees: yaw towards the person's left (right in the picture), pitch down, roll towards the person's right
  // shoulder.
  double yaw = 0, pitch = 0, roll = 0;
  // Of the mouth, in the head's own frame and centimetres of a canonical head: its ends, upper edge, lower edge.
  std::array<SpacePoint, 4> mouth;
};

// By the similarity that brings the canonical face's points nearest to the mesh (B. Horn, "Closed-form solution of
// absolute orientation using unit quaternions", 1987). Nothing where the mesh has no depth or is collapsed.
std::optional<HeadPose> FindHeadPose(const FaceMesh& mesh);

}  // namespace qx::photo

#endif  // QX_PHOTO_FACE_HEAD_POSE_H
