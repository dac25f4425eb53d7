#include "photo/check/measures.h"

#include <cmath>
#include <string>
#include <utility>

#include "photo/check/face_view.h"

namespace qx::photo {
namespace {

// Whether the points of a face can be believed.
constexpr int32_t kLeastPresence = 900;
constexpr double kMostTurn = 45;  // degrees

// The measures for which some points of the face must be known, and which are not assessed at all in any photograph.
void NoPoints(const std::string& reason, MeasureList* list) {
  for (int i = 0; i < static_cast<int>(MeasureId::kCount); ++i) {
    const auto id = static_cast<MeasureId>(i);
    switch (id) {
      case MeasureId::kUnifiedQualityScore:
      case MeasureId::kEyesVisible:
      case MeasureId::kMouthOcclusionPrevention:
      case MeasureId::kFaceOcclusionPrevention:
      case MeasureId::kNoHeadCoverings:
      case MeasureId::kCompressionArtifacts:
      case MeasureId::kSingleFacePresent: break;
      default: list->NotAssessed(id, reason);
    }
  }
}

void TurnedAway(const std::optional<HeadPose>& pose, MeasureList* list) {
  NoPoints("the face is turned away or hidden", list);
  Measure& yaw = (*list)[MeasureId::kHeadPoseYaw];
  if (pose) yaw.value = pose->yaw;
  yaw.state = MeasureState::kFailed;
  yaw.reason = "turned away: face the camera, with nothing before the face";
}

}  // namespace

void MeasureAligned(int32_t width, int32_t height, const ProbedFace& face,
                    const std::function<const AlignedFace*()>& align, const MeasureOptions& options,
                    const std::vector<Family>& families, MeasureList* list) {
  if (!face.mesh) return NoPoints("the face engine tells no mesh", list);
  const std::optional<HeadPose> pose = FindHeadPose(*face.mesh);
  const bool away = pose && (std::abs(pose->yaw) > kMostTurn || std::abs(pose->pitch) > kMostTurn);
  if (face.presence < kLeastPresence || away) {
    return TurnedAway(face.presence < kLeastPresence ? std::nullopt : pose, list);
  }
  const AlignedFace* const aligned = align();
  if (!aligned) return NoPoints("the face is too small", list);
  const FaceView view{width, height, *face.mesh, options, *aligned, pose};
  for (const Family family : families) family(view, list);
}

std::vector<Measure> MeasureFace(const Image& photograph, const std::vector<ProbedFace>& faces, const Mask* person,
                                 const MeasureOptions& options) {
  MeasureList list;
  MeasureFaceCount(faces, &list);
  MeasureCompression(photograph, faces, &list);
  if (faces.empty()) {
    NoPoints("no face was found", &list);
  } else {
    std::optional<AlignedFace> aligned;
    const auto align = [&]() -> const AlignedFace* {
      aligned = Align(photograph, *faces[0].mesh, person);
      return aligned ? &*aligned : nullptr;
    };
    MeasureAligned(photograph.width, photograph.height, faces[0], align, options,
                   {MeasurePoseAndGaze, MeasureEyesAndMouth, MeasureExposureAndColour, MeasureSharpness,
                    MeasureBackground, MeasureGeometry},
                   &list);
  }
  return list.All();
}

}  // namespace qx::photo
