// What is measured on one face of a photograph, with its limit, and what a person should do about it.
//
// The first 28 measures bear the identifiers of ISO/IEC 29794-5:2025 (as its reference implementation OFIQ 1.0.3 spells
// them); the others are what authorities ask beyond it.
#ifndef QX_PHOTO_CHECK_MEASURE_H
#define QX_PHOTO_CHECK_MEASURE_H

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace qx::photo {

enum class MeasureState {
  kPassed,
  kFailed,
  kRemark,       // to be looked at, no reason to refuse
  kNotAssessed,  // neither passed nor failed: `reason` says why
};

// "passed", "failed", "remark", "not assessed": stable names for programs.
const char* NameOf(MeasureState state);

struct Measure {
  std::string id;               // stable, such as "HeadPoseYaw"
  std::string title;            // for people, such as "Head turned sideways"
  std::string person;           // "left" or "right" as one looks at a picture of two; else empty
  std::string unit;             // "degrees", "px", "bit", "cm", "L*", "dE"; empty for ratios and counts
  std::optional<double> value;  // nothing where it could not be measured
  std::optional<double> score;  // 0 to 100, where the standard's formula gives one
  std::optional<double> min, max;
  double tolerance = 0;  // by which a limit may be missed
  std::string source;    // of the limit
  MeasureState state = MeasureState::kNotAssessed;
  std::string reason;  // empty when it passed
};

// The title, of two persons with the one it is about: "Left: Eyes open".
std::string TitleOf(const Measure& measure);

// In the order in which they are listed.
enum class MeasureId {
  kUnifiedQualityScore,
  kBackgroundUniformity,
  kIlluminationUniformity,
  kLuminanceMean,
  kLuminanceVariance,
  kUnderExposurePrevention,
  kOverExposurePrevention,
  kDynamicRange,
  kSharpness,
  kCompressionArtifacts,
  kNaturalColour,
  kSingleFacePresent,
  kEyesOpen,
  kMouthClosed,
  kEyesVisible,
  kMouthOcclusionPrevention,
  kFaceOcclusionPrevention,
  kInterEyeDistance,
  kHeadSize,
  kLeftwardCrop,
  kRightwardCrop,
  kMarginAbove,
  kMarginBelow,
  kHeadPoseYaw,
  kHeadPosePitch,
  kHeadPoseRoll,
  kExpressionNeutrality,
  kNoHeadCoverings,
  kGazeSideways,
  kEyeOpenness,
  kLipGap,
  kCheekLight,
  kFaceLightZones,
  kEyeWhite,
  kDarkGlasses,
  kRedEyes,
  kGlassesGlare,
  kColourPicture,
  kBackgroundEvenness,
  kBackgroundShadow,
  kBackgroundColour,
  kBackgroundLightness,
  kFaceCovered,
  kForeheadCovered,
  kCount,
};

// 1 / (1 + exp((x0 - x) / w)), scaled: the score is round(h (a + s S)), within 0 to 100.
struct Sigmoid {
  double h = 0, a = 0, s = 0, x0 = 0, w = 1;
  double operator()(double x) const;
};

// One row of the table of all measures. Limits that are infinite are none.
struct MeasureRow {
  MeasureId id;
  const char* name;
  const char* title;
  const char* unit;
  double min, max, tolerance;
  const char* source;
  Sigmoid score;       // h = 0: none, or a formula of its own
  const char* reason;  // for all that is not assessed at all, or only shown
};
const MeasureRow& RowOf(MeasureId id);

// The measures of one face. All are `not assessed` at first.
class MeasureList {
 public:
  MeasureList();

  Measure& operator[](MeasureId id) { return measures_[static_cast<size_t>(id)]; }
  const Measure& operator[](MeasureId id) const { return measures_[static_cast<size_t>(id)]; }

  // Sets the value, its score where the table has a sigmoid, and the state by the table's limits; `advice` becomes the
  // reason where it fails. Measures without limits are only shown. A value that is no number is not assessed.
  Measure& Judge(MeasureId id, double value, const std::string& advice = {});
  void NotAssessed(MeasureId id, const std::string& reason);
  void Remark(MeasureId id, const std::string& reason);
  // Takes the limit away; a value that was found is not assessed for that reason.
  void OnlyShow(MeasureId id, const std::string& reason);
  void Fail(MeasureId id, const std::string& reason);  // for what the value alone does not show

  std::vector<Measure> All() const { return {measures_.begin(), measures_.end()}; }

 private:
  std::array<Measure, static_cast<size_t>(MeasureId::kCount)> measures_;
};

// A score as the standard's formulas round it.
double RoundScore(double score);

}  // namespace qx::photo

#endif  // QX_PHOTO_CHECK_MEASURE_H
