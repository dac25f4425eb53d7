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

// What one measure tells of what others are worth.
void WeighTogether(MeasureList* list) {
  // Half shut eyes lie in the shade of their lids however bright the day is. A face in too little light is never that
  // bright, whatever its colour; that a face is darker says nothing.
  constexpr double kBrightFace = 0.125;
  const auto& mean = (*list)[MeasureId::kLuminanceMean].value;
  if ((*list)[MeasureId::kEyeWhite].state == MeasureState::kFailed && mean && *mean >= kBrightFace) {
    list->Remark(MeasureId::kEyeWhite, "the eyes lie in the shade: more light from the front is better");
  }
  if ((*list)[MeasureId::kColourPicture].state != MeasureState::kFailed) return;
  for (const MeasureId id : {MeasureId::kNaturalColour, MeasureId::kRedEyes, MeasureId::kFaceCovered}) {
    if ((*list)[id].value) list->NotAssessed(id, "the photograph has no colour");
  }
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
  WeighTogether(list);
}

MeasureOptions OptionsFor(const Preset& preset, const Document& document, const FileFacts& file, bool child) {
  // A document without bounds of the head is taken for one that shows head and shoulders.
  constexpr double kUsualHead = 0.6;  // of the height
  MeasureOptions options;
  options.child = child;
  options.backgrounds = preset.backgrounds;
  options.rules = preset.rules;
  options.leastHead = (document.head ? document.head->min : kUsualHead) * document.height;
  options.jpegQuality = file.jpegQuality;
  options.mustBeSmall = document.maxKb.has_value();
  return options;
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
                   {MeasurePoseAndGaze, MeasureExposureAndColour, MeasureEyesAndMouth, MeasureSharpness,
                    MeasureBackground, MeasureGeometry},
                   &list);
  }
  HoldToDocument(options, &list);
  return list.All();
}

}  // namespace qx::photo
