#include "photo/check/check_lines.h"

#include <algorithm>

namespace qx::photo {
namespace {

// Two measurements of one photograph, before and after it was made smaller, differ by so much of its height.
constexpr double kMeasuringError = 0.005;

CheckLine Exactly(const char* name, const char* unit, double value, double wanted, double tolerance = 0) {
  return {name, unit, value, wanted, wanted, tolerance};
}

CheckLine Score(const char* name, double value, double least) {
  return {name, "", value, least, 100.0, 0};
}

CheckLine Measure(const char* name, double value, const std::optional<Fraction>& bound, double wholeMm) {
  CheckLine line{name, "mm", value * wholeMm, std::nullopt, std::nullopt, kMeasuringError * wholeMm};
  if (bound) {
    line.min = bound->min * wholeMm;
    line.max = bound->max * wholeMm;
  }
  return line;
}

}  // namespace

bool AllPassed(const std::vector<CheckLine>& lines) {
  return std::all_of(lines.begin(), lines.end(), [](const CheckLine& line) { return line.Passed(); });
}

std::vector<CheckLine> FileLines(int32_t width, int32_t height, const FileFacts& file, const Preset& preset,
                                 const Document& document) {
  std::vector<CheckLine> lines{Exactly("width", "px", width, document.width),
                               Exactly("height", "px", height, document.height)};
  // A file to upload is measured in pixels; its resolution says nothing.
  if (!preset.upload) {
    lines.push_back(Exactly("resolution", "dpi", file.resolution ? file.resolution->x : 0, document.dpi, 1));
  }
  CheckLine size{"file size", "kB", static_cast<double>(file.bytes) / kCeilingKilobyte, std::nullopt, std::nullopt, 0};
  if (document.minKb) size.min = static_cast<double>(*document.minKb * kFloorKilobyte) / kCeilingKilobyte;
  if (document.maxKb) size.max = *document.maxKb;
  lines.push_back(size);
  return lines;
}

CheckLine FacesLine(size_t faces, const Preset& preset) {
  return Exactly("faces", "", static_cast<double>(faces), preset.persons);
}

CheckLine RollLine(double roll) {
  constexpr double kOnItsSide = 45;
  return {"roll", "degrees", roll, -kOnItsSide, kOnItsSide, 0};
}

CheckLine LeanLine(double roll) {
  return {"lean", "degrees", roll, std::nullopt, std::nullopt, 0};
}

std::vector<CheckLine> MeasureLines(const PhotoMeasures& measures, const Document& document) {
  return {Measure("head", measures.head, document.head, document.heightMm),
          Measure("space above", measures.top, document.top, document.heightMm),
          Measure("eyes", measures.eyes, document.eyes, document.heightMm),
          Measure("face width", measures.faceWidth, document.faceWidth, document.widthMm)};
}

std::vector<CheckLine> ScoreLines(const QualityScores& scores, bool child) {
  CheckLine tilt = Score("tilt", scores.tilt, kLeastTilt);
  if (child) tilt.min = tilt.max = std::nullopt;
  return {tilt, Score("brightness", scores.brightness, kLeastBrightness),
          Score("symmetry", scores.symmetry, kLeastSymmetry), Score("background", scores.background, kLeastBackground)};
}

}  // namespace qx::photo
