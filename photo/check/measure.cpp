#include "photo/check/measure.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/exact_math.h"

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
    {MeasureId::kUnifiedQualityScore, "UnifiedQualityScore", "Overall quality", "", -kFree, kFree, 0, kNone, kNoScore, kNoNetwork},
    {MeasureId::kBackgroundUniformity, "BackgroundUniformity", "Plain background (standard's measure)", "", -kFree, kFree, 0, kNone, {190, 1, -1, 10, 100}, kNoise},
    {MeasureId::kIlluminationUniformity, "IlluminationUniformity", "Same light on both cheeks (standard's measure)", "", -kFree, kFree, 0, kNone, kNoScore, kSkin},
    {MeasureId::kLuminanceMean, "LuminanceMean", "Mean brightness of the face", "", -kFree, kFree, 0, kNone, kNoScore, kSkin},
    {MeasureId::kLuminanceVariance, "LuminanceVariance", "Contrast of the face", "", -kFree, kFree, 0, kNone, kNoScore, kSkin},
    {MeasureId::kUnderExposurePrevention, "UnderExposurePrevention", "Too dark parts of the face", "", -kFree, 0.90, 0, kOurs, {120, 0.832, -1, 0.92, 0.05}, kUnmeasured},
    {MeasureId::kOverExposurePrevention, "OverExposurePrevention", "Burnt-out parts of the face", "", -kFree, 0.01, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kDynamicRange, "DynamicRange", "Range of tones", "bit", 4, kFree, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kSharpness, "Sharpness", "Sharpness", "", 0.50, kFree, 0.02, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kCompressionArtifacts, "CompressionArtifacts", "Traces of compression", "", -kFree, 4, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kNaturalColour, "NaturalColour", "Natural colour of the skin", "", -kFree, 10.9861, 0, kOurs, {200, 1, -1, 0, 10}, kUnmeasured},
    {MeasureId::kSingleFacePresent, "SingleFacePresent", "One face only", "", -kFree, 0.05, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kEyesOpen, "EyesOpen", "Eyes open", "", 0.045, kFree, 0, kOurs, {100, 0, 1, 0.02, 0.01}, kUnmeasured},
    {MeasureId::kMouthClosed, "MouthClosed", "Mouth closed (standard's measure)", "", -kFree, kFree, 0, kNone, {100, 1, -1, 0.2, 0.06}, "only shown: LipGap decides"},
    {MeasureId::kEyesVisible, "EyesVisible", "Eyes not hidden", "", -kFree, kFree, 0, kNone, kNoScore, kHidden},
    {MeasureId::kMouthOcclusionPrevention, "MouthOcclusionPrevention", "Mouth not hidden", "", -kFree, kFree, 0, kNone, kNoScore, kHidden},
    {MeasureId::kFaceOcclusionPrevention, "FaceOcclusionPrevention", "Face not hidden", "", -kFree, kFree, 0, kNone, kNoScore, kHidden},
    {MeasureId::kInterEyeDistance, "InterEyeDistance", "Distance between the eyes", "px", 90, kFree, 0, kEyeSource, {100, 0, 1, 70, 20}, kUnmeasured},
    {MeasureId::kHeadSize, "HeadSize", "Size of the head in the picture", "", -kFree, kFree, 0, kNone, kNoScore, kFraming},
    {MeasureId::kLeftwardCrop, "LeftwardCropOfTheFaceImage", "Room on the left", "", 1.9, kFree, 0, kOurs, {100, 0, 1, 0.9, 0.1}, kUnmeasured},
    {MeasureId::kRightwardCrop, "RightwardCropOfTheFaceImage", "Room on the right", "", 1.9, kFree, 0, kOurs, {100, 0, 1, 0.9, 0.1}, kUnmeasured},
    {MeasureId::kMarginAbove, "MarginAboveOfTheFaceImage", "Room above the eyes", "", 0.7, kFree, 0, kCut, {100, 0, 1, 1.4, 0.1}, kUnmeasured},
    {MeasureId::kMarginBelow, "MarginBelowOfTheFaceImage", "Room below the eyes", "", 1, kFree, 0, kCut, {100, 0, 1, 1.8, 0.1}, kUnmeasured},
    {MeasureId::kHeadPoseYaw, "HeadPoseYaw", "Head turned sideways", "degrees", -5, 5, 3, kPoseSource, kNoScore, kUnmeasured},
    {MeasureId::kHeadPosePitch, "HeadPosePitch", "Head raised or lowered", "degrees", -1.5, 8.5, 5, kPitchSource, kNoScore, kUnmeasured},
    {MeasureId::kHeadPoseRoll, "HeadPoseRoll", "Head leaning", "degrees", -8, 8, 1, kPoseSource, kNoScore, kUnmeasured},
    {MeasureId::kExpressionNeutrality, "ExpressionNeutrality", "Neutral expression", "cm", -kFree, 0.32, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kNoHeadCoverings, "NoHeadCoverings", "No head covering", "", -kFree, kFree, 0, kNone, kNoScore, "a hat counts as a part of the person; look yourself"},
    {MeasureId::kGazeSideways, "GazeSideways", "Gaze into the camera", "degrees", -10, 10, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kEyeOpenness, "EyeOpenness", "How wide the eyes are open", "", 0.15, kFree, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kLipGap, "LipGap", "Lips closed", "", -kFree, 0.5, 0, kLipSource, kNoScore, kUnmeasured},
    {MeasureId::kCheekLight, "CheekLight", "Light from both sides", "", 0.5, kFree, 0, kZoneSource, kNoScore, kUnmeasured},
    {MeasureId::kFaceLightZones, "FaceLightZones", "Even light on the face", "", 0.5, kFree, 0, kZoneSource, kNoScore, kUnmeasured},
    {MeasureId::kEyeWhite, "EyeWhite", "White of the eyes seen", "", 0.08, kFree, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kDarkGlasses, "DarkGlasses", "No dark glasses", "", 0.03, kFree, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kRedEyes, "RedEyes", "No red eyes", "", -kFree, 0.40, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kGlassesGlare, "GlassesGlare", "No reflections on glasses", "", -kFree, 0.01, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kColourPicture, "ColourPicture", "Picture in colour", "", 4, kFree, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kBackgroundEvenness, "BackgroundEvenness", "Plain background", "dE", -kFree, 6, 9, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kBackgroundShadow, "BackgroundShadow", "No shadow on the background", "L*", -kFree, 9, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kBackgroundColour, "BackgroundColour", "Colour of the background", "dE", -kFree, 10, 0, kOurs, kNoScore, "the document asks for no certain colour"},
    {MeasureId::kBackgroundLightness, "BackgroundLightness", "Bright background", "L*", 75, kFree, 3, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kFaceCovered, "FaceCovered", "Lower face free", "dE", -kFree, 14, 0, kOurs, kNoScore, kUnmeasured},
    {MeasureId::kForeheadCovered, "ForeheadCovered", "Forehead free", "", 0.75, kFree, 0, kOurs, kNoScore, kUnmeasured},
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

std::string TitleOf(const Measure& measure) {
  if (measure.person.empty()) return measure.title;
  std::string title = measure.person + ": " + measure.title;
  title[0] = static_cast<char>(title[0] - 'a' + 'A');
  return title;
}

double RoundScore(double score) {
  return std::clamp(std::floor(score + 0.5), 0.0, 100.0);
}

double Sigmoid::operator()(double x) const {
  return RoundScore(h * (a + s / (1 + exact::Exp((x0 - x) / w))));
}

const MeasureRow& RowOf(MeasureId id) {
  return kRows[static_cast<size_t>(id)];
}

MeasureList::MeasureList() {
  for (const MeasureRow& row : kRows) {
    Measure& measure = (*this)[row.id];
    measure.id = row.name;
    measure.title = row.title;
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

void MeasureList::OnlyShow(MeasureId id, const std::string& reason) {
  Measure& measure = (*this)[id];
  measure.min = measure.max = std::nullopt;
  measure.tolerance = 0;
  measure.source.clear();
  // Why there is no value says more.
  if (measure.value) NotAssessed(id, "only shown: " + reason);
}

void MeasureList::Remark(MeasureId id, const std::string& reason) {
  (*this)[id].state = MeasureState::kRemark;
  (*this)[id].reason = reason;
}

}  // namespace qx::photo
