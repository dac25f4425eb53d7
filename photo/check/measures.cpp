#include "photo/check/measures.h"

#include <cmath>
#include <string>
#include <utility>

#include "photo/check/document_rules.h"
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

void MeasurePoints(const Image& photograph, const std::vector<ProbedFace>& faces, const Mask* person,
                   const MeasureOptions& options, MeasureList* list) {
  const ProbedFace& face = faces[0];
  if (!face.mesh) return NoPoints("the face engine tells no mesh", list);
  const std::optional<HeadPose> pose = FindHeadPose(*face.mesh);
  const bool away = pose && (std::abs(pose->yaw) > kMostTurn || std::abs(pose->pitch) > kMostTurn);
  if (face.presence < kLeastPresence || away) {
    return TurnedAway(face.presence < kLeastPresence ? std::nullopt : pose, list);
  }
  std::optional<AlignedFace> aligned = Align(photograph, *face.mesh, person);
  if (!aligned) return NoPoints("the face is too small", list);
  const FaceView view{photograph, faces, *face.mesh, options, std::move(*aligned), pose};
  MeasurePoseAndGaze(view, list);
  MeasureEyesAndMouth(view, list);
  MeasureExposureAndColour(view, list);
  MeasureSharpness(view, list);
  MeasureBackground(view, list);
  MeasureGeometry(view, list);
}

}  // namespace

std::vector<Measure> MeasureFace(const Image& photograph, const std::vector<ProbedFace>& faces, const Mask* person,
                                 const MeasureOptions& options) {
  MeasureList list;
  MeasureFaceCount(faces, &list);
  MeasureCompression(photograph, faces, &list);
  if (faces.empty()) {
    NoPoints("no face was found", &list);
  } else {
    MeasurePoints(photograph, faces, person, options, &list);
  }
  HoldToDocument(options, &list);
  return list.All();
}

}  // namespace qx::photo
