#include "photo/check/measure.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qx::photo {
namespace {

constexpr double kFree = std::numeric_limits<double>::infinity();
constexpr Sigmoid kNoScore{};

// Where limits come from. What is only remembered of a standard counts as our own.
constexpr char kOurs[] = "our own, from measured photographs";
constexpr char kPoseSource[] = "ISO/IEC 19794-5:2011, 7.2.2, as others quote it";
constexpr char kPitchSource[] = "our own: 5 degrees as others quote ISO/IEC 19794-5:2011, about what level heads read";
constexpr char kEyeSource[] = "a secondary source";
constexpr char kLipSource[] = "our own, after ISO/IEC 39794-5 as remembered";
constexpr char kZoneSource[] = "our own, after ISO/IEC 39794-5 as remembered and measured photographs";
constexpr char kCut[] = "our own: what is less cuts the head; the document's own sizes ask for more";
constexpr char kNone[] = "";
// Why there is no verdict.
constexpr char kNoNetwork[] = "no network that judges this is free to use";
constexpr char kHidden[] = "the points of a face say nothing of what is hidden; look yourself";
constexpr char kSkin[] = "only shown: it depends on the colour of the skin";
constexpr char kFraming[] = "only shown: the document's own sizes decide";
constexpr char kNoise[] = "only shown: noise on a plain wall counts too";
constexpr char kUnmeasured[] = "not measured";

// The one table of identifiers, limits and the standard's scores, in the order of MeasureId.
// clang-format off
constexpr MeasureRow kRows[] = {
    {MeasureId::kUnifiedQualityScore, "UnifiedQualityScore", "", -kFree, kFree, 0, kNone, kNoScore, kNoNetwork},
    {MeasureId::kBackgroundUniformity, "BackgroundUniformity", "", -kFree, kFree, 0, kNone, {190, 1, -1, 10, 100}, kNoise},
    {MeasureId::kIlluminationUniformity, "IlluminationUniformity", "", -kFree, kFree, 0, kNone, kNoScore, kSkin},
    {MeasureId::kLuminanceMean, "LuminanceMean", "", -kFree, kFree, 0, kNone, kNoScore, kSkin},
    {MeasureId::kLuminanceVariance, "LuminanceVariance", "", -kFree, kFree, 0, kNone, kNoScore, kSkin},
    {MeasureId::kUnderExposurePrevention, "UnderExposurePrevention", "", -kFree, 0.90, 0, kOurs, {120, 0.832, -1, 0.92, 0.05}, kUnmeasured},
    {MeasureId::kOverExposurePrevention, "OverExposurePrevention", "", -kFree, 0.01, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kDynamicRange, "DynamicRange", "bit", 4, kFree, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kSharpness, "Sharpness", "", 0.50, kFree, 0.02, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kCompressionArtifacts, "CompressionArtifacts", "", -kFree, 4, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kNaturalColour, "NaturalColour", "", -kFree, 10.9861, 0, kOurs, {200, 1, -1, 0, 10}, kUnmeasured},
    {MeasureId::kSingleFacePresent, "SingleFacePresent", "", -kFree, 0.05, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kEyesOpen, "EyesOpen", "", 0.045, kFree, 0, kOurs, {100, 0, 1, 0.02, 0.01}, kUnmeasured},
    {MeasureId::kMouthClosed, "MouthClosed", "", -kFree, kFree, 0, kNone, {100, 1, -1, 0.2, 0.06}, "only shown: LipGap decides"},
    {MeasureId::kEyesVisible, "EyesVisible", "", -kFree, kFree, 0, kNone, kNoScore, kHidden},
    {MeasureId::kMouthOcclusionPrevention, "MouthOcclusionPrevention", "", -kFree, kFree, 0, kNone, kNoScore, kHidden},
    {MeasureId::kFaceOcclusionPrevention, "FaceOcclusionPrevention", "", -kFree, kFree, 0, kNone, kNoScore, kHidden},
    {MeasureId::kInterEyeDistance, "InterEyeDistance", "px", 90, kFree, 0, kEyeSource, {100, 0, 1, 70, 20}, kUnmeasured},
    {MeasureId::kHeadSize, "HeadSize", "", -kFree, kFree, 0, kNone, kNoScore, kFraming},
    {MeasureId::kLeftwardCrop, "LeftwardCropOfTheFaceImage", "", 1.9, kFree, 0, kOurs, {100, 0, 1, 0.9, 0.1}, kUnmeasured},
    {MeasureId::kRightwardCrop, "RightwardCropOfTheFaceImage", "", 1.9, kFree, 0, kOurs, {100, 0, 1, 0.9, 0.1}, kUnmeasured},
    {MeasureId::kMarginAbove, "MarginAboveOfTheFaceImage", "", 0.7, kFree, 0, kCut, {100, 0, 1, 1.4, 0.1}, kUnmeasured},
    {MeasureId::kMarginBelow, "MarginBelowOfTheFaceImage", "", 1, kFree, 0, kCut, {100, 0, 1, 1.8, 0.1}, kUnmeasured},
    {MeasureId::kHeadPoseYaw, "HeadPoseYaw", "degrees", -5, 5, 3, kPoseSource, kNoScore, kUnmeasured},
    {MeasureId::kHeadPosePitch, "HeadPosePitch", "degrees", -1.5, 8.5, 5, kPitchSource, kNoScore, kUnmeasured},
    {MeasureId::kHeadPoseRoll, "HeadPoseRoll", "degrees", -8, 8, 1, kPoseSource, kNoScore, kUnmeasured},
    {MeasureId::kExpressionNeutrality, "ExpressionNeutrality", "cm", -kFree, 0.32, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kNoHeadCoverings, "NoHeadCoverings", "", -kFree, kFree, 0, kNone, kNoScore, "a hat counts as a part of the person; look yourself"},
    {MeasureId::kGazeSideways, "GazeSideways", "degrees", -10, 10, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kEyeOpenness, "EyeOpenness", "", 0.15, kFree, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kLipGap, "LipGap", "", -kFree, 0.5, 0, kLipSource, kNoScore, kUnmeasured},
    {MeasureId::kCheekLight, "CheekLight", "", 0.5, kFree, 0, kZoneSource, kNoScore, kUnmeasured},
    {MeasureId::kFaceLightZones, "FaceLightZones", "", 0.5, kFree, 0, kZoneSource, kNoScore, kUnmeasured},
    {MeasureId::kEyeWhite, "EyeWhite", "", 0.08, kFree, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kDarkGlasses, "DarkGlasses", "", 0.03, kFree, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kRedEyes, "RedEyes", "", -kFree, 0.40, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kGlassesGlare, "GlassesGlare", "", -kFree, 0.01, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kColourPicture, "ColourPicture", "", 4, kFree, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kBackgroundEvenness, "BackgroundEvenness", "dE", -kFree, 6, 9, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kBackgroundShadow, "BackgroundShadow", "L*", -kFree, 9, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kBackgroundColour, "BackgroundColour", "dE", -kFree, 10, 0, kOurs, kNoScore, "the document asks for no certain colour"},
    {MeasureId::kBackgroundLightness, "BackgroundLightness", "L*", 75, kFree, 3, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kFaceCovered, "FaceCovered", "dE", -kFree, 14, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kForeheadCovered, "ForeheadCovered", "", 0.75, kFree, 0, kOurs, kNoScore, kUnmeasured},
};
// clang-format on
static_assert(sizeof kRows / sizeof kRows[0] == static_cast<size_t>(MeasureId::kCount), "a row for each measure");

bool IsLimited(const Measure& measure) {
  return measure.min || measure.max;
}

}  // namespace

const char* NameOf(MeasureState state) {
  switch (state) {
    case MeasureState::kPassed: return "passed";
    case MeasureState::kFailed: return "failed";
    case MeasureState::kRemark: return "remark";
    default: return "not assessed";
  }
}

double RoundScore(double score) {
  return std::clamp(std::floor(score + 0.5), 0.0, 100.0);
}

double Sigmoid::operator()(double x) const {
  return RoundScore(h * (a + s / (1 + std::exp((x0 - x) / w))));
}

const MeasureRow& RowOf(MeasureId id) {
  return kRows[static_cast<size_t>(id)];
}

MeasureList::MeasureList() {
  for (const MeasureRow& row : kRows) {
    Measure& measure = (*this)[row.id];
    measure.id = row.name;
    measure.unit = row.unit;
    if (row.min > -kFree) measure.min = row.min;
    if (row.max < kFree) measure.max = row.max;
    measure.tolerance = row.tolerance;
    measure.source = row.source;
    measure.reason = row.reason;
  }
}

Measure& MeasureList::Judge(MeasureId id, double value, const std::string& advice) {
  Measure& measure = (*this)[id];
  if (!std::isfinite(value)) {
    NotAssessed(id, "there is nothing to measure");
    return measure;
  }
  measure.value = value;
  if (RowOf(id).score.h != 0) measure.score = RowOf(id).score(value);
  if (!IsLimited(measure)) return measure;
  const bool inside = value >= measure.min.value_or(value) - measure.tolerance &&
                      value <= measure.max.value_or(value) + measure.tolerance;
  measure.state = inside ? MeasureState::kPassed : MeasureState::kFailed;
  measure.reason = inside ? "" : advice;
  return measure;
}

void MeasureList::NotAssessed(MeasureId id, const std::string& reason) {
  (*this)[id].state = MeasureState::kNotAssessed;
  (*this)[id].reason = reason;
}

void MeasureList::Fail(MeasureId id, const std::string& reason) {
  (*this)[id].state = MeasureState::kFailed;
  (*this)[id].reason = reason;
}

void MeasureList::Remark(MeasureId id, const std::string& reason) {
  (*this)[id].state = MeasureState::kRemark;
  (*this)[id].reason = reason;
}

}  // namespace qx::photo
