// What a finished photograph is held against: one line for each thing, with its limits.
#ifndef QX_PHOTO_CHECK_CHECK_LINES_H
#define QX_PHOTO_CHECK_CHECK_LINES_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "photo/document/presets.h"
#include "photo/place/person_geometry.h"
#include "qx_idp.h"

namespace qx::photo {

// What a picture's file says beside its pixels.
struct FileFacts {
  std::optional<PrintResolution> resolution;  // nothing where the file is silent
  int64_t bytes = 0;                          // size of the file
  std::optional<JpegQuality> jpegQuality{};   // nothing for other formats
};

// One thing that was measured.
struct CheckLine {
  std::string name;  // such as "head"
  std::string unit;  // "mm", "px", "dpi", "kB", "degrees"; empty for scores and counts
  double value = 0;
  std::optional<double> min, max;  // limits; none: only shown
  double tolerance = 0;            // by which a limit may be missed, for what measuring is worth

  bool Passed() const { return value >= min.value_or(value) - tolerance && value <= max.value_or(value) + tolerance; }
};

// For people, such as "Space above the head".
std::string TitleOf(const CheckLine& line);

bool AllPassed(const std::vector<CheckLine>& lines);

// Lowest scores of the library's quality check that pass: a head that leans by 9 degrees (as far as HeadPoseRoll lets
// it lean, for the two say one thing), a face of mean grey 54 (evenly lit dark skin is brighter), one half of the face
// 56 grey levels off the other, and a plain background of the clothes' own colour.
inline constexpr int32_t kLeastTilt = 47, kLeastBrightness = 40, kLeastSymmetry = 60, kLeastBackground = 50;

// Width and height in pixels and, for prints, the resolution; the size of the file.
std::vector<CheckLine> FileLines(int32_t width, int32_t height, const FileFacts& file, const Preset& preset,
                                 const Document& document);
// As many faces as the document has persons.
CheckLine FacesLine(size_t faces, const Preset& preset);
// Passed as long as the head stands rather than lies; in degrees.
CheckLine RollLine(double roll);
// By how much the head leans, in degrees, clockwise positive: only shown, the score of the tilt has the limit.
CheckLine LeanLine(double roll);
// Head, to where the document counts it, and to the other end ("head with hair" or "head to crown"), which is only
// shown; space above, eyes, face width, in millimetres; with limits where the document has bounds. The least space
// above is LeastTop.
std::vector<CheckLine> MeasureLines(const PhotoMeasures& measures, const Document& document);
// `child`: the tilt is only shown.
std::vector<CheckLine> ScoreLines(const QualityScores& scores, bool child = false);

}  // namespace qx::photo

#endif  // QX_PHOTO_CHECK_CHECK_LINES_H
