#include "photo/check/check_lines.h"

#include <algorithm>

#include "photo/place/placement.h"

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

std::string TitleOf(const CheckLine& line) {
  constexpr const char* kTitles[][2] = {{"width", "Width of the picture"},
                                        {"height", "Height of the picture"},
                                        {"resolution", "Resolution for printing"},
                                        {"file size", "Size of the file"},
                                        {"faces", "Number of faces"},
                                        {"roll", "Head upright"},
                                        {"lean", "Lean of the head"},
                                        {"head", "Height of the head"},
                                        {"head with hair", "Height of the head with its hair"},
                                        {"head to crown", "Height of the head to its crown"},
                                        {"space above", "Space above the head"},
                                        {"eyes", "Eyes above the lower edge"},
                                        {"face width", "Width of the face"},
                                        {"tilt", "Head held straight"},
                                        {"brightness", "Brightness of the face"},
                                        {"symmetry", "Light on both halves of the face"},
                                        {"background", "Background and clothes told apart"}};
  for (const auto& [name, title] : kTitles) {
    if (line.name == name) return title;
  }
  std::string title = line.name;
  if (!title.empty() && title[0] >= 'a' && title[0] <= 'z') title[0] = static_cast<char>(title[0] - 'a' + 'A');
  return title;
}

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
  const bool toHair = document.headTo == HeadTo::kHair;
  std::optional<Fraction> top = document.top;
  if (top) top->min = LeastTop(*top, measures.HairAboveCrown(), document.headTo);
  return {Measure("head", measures.Head(document.headTo), document.head, document.heightMm),
          Measure(toHair ? "head to crown" : "head with hair", toHair ? measures.head : measures.headWithHair,
                  std::nullopt, document.heightMm),
          Measure("space above", measures.top, top, document.heightMm),
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
