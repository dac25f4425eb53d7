#include "photo/check/source_check.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "photo/check/document_rules.h"
#include "photo/check/face_view.h"

namespace qx::photo {
namespace {

// From that many pixels of the document for one of the photograph on it shows that there were too few.
constexpr double kMostEnlargement = 1.5;

constexpr MeasureId kOfSource[] = {
    MeasureId::kUnderExposurePrevention,
    MeasureId::kOverExposurePrevention,
    MeasureId::kDynamicRange,
    MeasureId::kSharpness,
    MeasureId::kNaturalColour,
    MeasureId::kEyesOpen,
    MeasureId::kInterEyeDistance,
    MeasureId::kHeadPoseYaw,
    MeasureId::kHeadPosePitch,
    MeasureId::kHeadPoseRoll,
    MeasureId::kExpressionNeutrality,
    MeasureId::kGazeSideways,
    MeasureId::kEyeOpenness,
    MeasureId::kLipGap,
    MeasureId::kCheekLight,
    MeasureId::kFaceLightZones,
    MeasureId::kEyeWhite,
    MeasureId::kDarkGlasses,
    MeasureId::kRedEyes,
    MeasureId::kGlassesGlare,
    MeasureId::kColourPicture,
    MeasureId::kFaceCovered,
    MeasureId::kForeheadCovered,
};
constexpr MeasureId kOfBackground[] = {MeasureId::kBackgroundEvenness, MeasureId::kBackgroundShadow,
                                       MeasureId::kBackgroundColour, MeasureId::kBackgroundLightness};

template <size_t N>
std::vector<Measure> Pick(const MeasureList& list, const MeasureId (&ids)[N]) {
  std::vector<Measure> measures;
  for (const MeasureId id : ids) measures.push_back(list[id]);
  return measures;
}

// A small document needs fewer pixels than the limit, and what lies above the limit serves any.
void JudgePixels(const SourceUse& use, MeasureList* list) {
  Measure& measure = (*list)[MeasureId::kInterEyeDistance];
  measure.value = use.eyeDistance;
  const double needed = use.eyeDistance * use.enlargement / kMostEnlargement;
  if (needed < RowOf(MeasureId::kInterEyeDistance).min) {
    measure.min = needed;
    measure.source = "our own, from the size of the document";
  }
  const bool enough = use.eyeDistance >= *measure.min;
  measure.state = enough ? MeasureState::kPassed : MeasureState::kFailed;
  char reason[120];
  std::snprintf(reason, sizeof reason,
                "the face has too few pixels, enlarged %.1f times: come closer or use a better camera",
                use.enlargement);
  measure.reason = enough ? "" : reason;
}

// How the head leans in the document after a turn that was asked for.
void JudgeLean(const SourceUse& use, MeasureList* list) {
  const Measure& roll = (*list)[MeasureId::kHeadPoseRoll];
  if (!roll.value) return;
  const double lean = (use.straightened ? 0 : *roll.value) + use.turnedBy;
  char reason[80];
  std::snprintf(reason, sizeof reason, "the head leans %.0f degrees to the %s as it was turned", std::abs(lean),
                lean > 0 ? "right" : "left");
  list->Judge(MeasureId::kHeadPoseRoll, lean, reason);
}

}  // namespace

SourceFace LookAtSource(const Image& picture, const ProbedFace& face) {
  SourceFace source{picture.width, picture.height, face, std::nullopt};
  if (face.mesh) source.aligned = Align(picture, *face.mesh, nullptr, true);
  return source;
}

std::vector<Measure> MeasureSource(const SourceFace& source, const SourceUse& use, const MeasureOptions& options) {
  MeasureList list;
  const auto align = [&source] { return source.aligned ? &*source.aligned : nullptr; };
  MeasureAligned(source.width, source.height, source.face, align, options,
                 {MeasurePoseAndGaze, MeasureExposureAndColour, MeasureEyesAndMouth, MeasureSharpness}, &list);
  if (use.turnedBy != 0) JudgeLean(use, &list);
  HoldToDocument(options, &list);
  if (use.straightened && use.turnedBy == 0) list.NotAssessed(MeasureId::kHeadPoseRoll, "straightened");
  JudgePixels(use, &list);
  return Pick(list, kOfSource);
}

std::vector<Measure> MeasureKeptBackground(const Image& picture, const ProbedFace& face, const Mask& person,
                                           const MeasureOptions& options) {
  MeasureList list;
  std::optional<AlignedFace> aligned;
  const auto align = [&]() -> const AlignedFace* {
    aligned = Align(picture, *face.mesh, &person);
    return aligned ? &*aligned : nullptr;
  };
  MeasureAligned(picture.width, picture.height, face, align, options, {MeasureBackground}, &list);
  HoldToDocument(options, &list);
  return Pick(list, kOfBackground);
}

std::vector<std::string> ReasonsOf(const std::vector<Measure>& measures) {
  std::vector<std::string> reasons;
  for (const Measure& measure : measures) {
    if (measure.state == MeasureState::kFailed) reasons.push_back(measure.reason);
  }
  std::vector<std::string> kept;
  for (size_t i = 0; i < reasons.size(); ++i) {
    bool said = false;
    for (size_t j = 0; j < reasons.size() && !said; ++j) {
      const bool same = reasons[i] == reasons[j];
      said = same ? j < i : reasons[j].find(reasons[i]) != std::string::npos;
    }
    if (!said) kept.push_back(reasons[i]);
  }
  return kept;
}

}  // namespace qx::photo
