#include "photo/check/check.h"

#include <algorithm>
#include <cmath>

#include "photo/face/crops.h"
#include "photo/person/mask.h"

namespace qx::photo {
namespace {

// Two measurements of one photograph, before and after it was made smaller, differ by so much of its height.
constexpr double kMeasuringError = 0.005;

CheckLine Exactly(const char* name, const char* unit, double value, double wanted, double tolerance = 0) {
  return {name, unit, value, wanted, wanted, tolerance};
}

CheckLine Score(const char* name, int32_t value, int32_t least) {
  return {name, "", double{1} * value, double{1} * least, 100.0, 0};
}

CheckLine Measure(const char* name, double value, const std::optional<Fraction>& bound, double wholeMm) {
  CheckLine line{name, "mm", value * wholeMm, std::nullopt, std::nullopt, kMeasuringError * wholeMm};
  if (bound) {
    line.min = bound->min * wholeMm;
    line.max = bound->max * wholeMm;
  }
  return line;
}

void AddFile(const Image& photograph, const FileFacts& file, const Preset& preset, PhotoCheck* check) {
  const Document& document = check->document;
  check->lines.push_back(Exactly("width", "px", photograph.width, document.width));
  check->lines.push_back(Exactly("height", "px", photograph.height, document.height));
  // A file to upload is measured in pixels; its resolution says nothing.
  if (!preset.upload) {
    check->lines.push_back(Exactly("resolution", "dpi", file.resolution ? file.resolution->x : 0, document.dpi, 1));
  }
  CheckLine size{"file size", "kB", static_cast<double>(file.bytes) / kCeilingKilobyte, std::nullopt, std::nullopt, 0};
  if (document.minKb) size.min = double{1} * *document.minKb * kFloorKilobyte / kCeilingKilobyte;
  if (document.maxKb) size.max = *document.maxKb;
  check->lines.push_back(size);
}

// The photograph with its borders continued by `margin`: the background's score looks further aside and down than
// close documents reach, and would see white there. From the row of the eyes downward the sides go on as they are
// there, for shoulders are no background.
Image Continued(const Image& photograph, int32_t margin, int32_t eyes) {
  Image wide(photograph.width + 2 * margin, photograph.height + 2 * margin);
  uint8_t* to = wide.bgr.data();
  for (int32_t y = 0; y < wide.height; ++y) {
    const int32_t row = std::clamp(y - margin, 0, photograph.height - 1), sideRow = std::min(row, eyes);
    const auto repeat = [&](int32_t x) {
      for (int32_t i = 0; i < margin; ++i) to = std::copy_n(photograph.At(x, sideRow), 3, to);
    };
    repeat(0);
    to = std::copy_n(photograph.At(0, row), static_cast<size_t>(photograph.width) * 3, to);
    repeat(photograph.width - 1);
  }
  return wide;
}

void MeasureOnePerson(PersonSegmenter& segmenter, const Image& photograph, const std::vector<ProbedFace>& faces,
                      PhotoCheck* check) {
  std::vector<FaceBox> persons, others;
  for (const ProbedFace& face : faces) (&face == &faces[0] ? persons : others).push_back(face.Box());
  check->person = MeasurePerson(faces[0], segmenter.Segment(photograph, persons, others));
  const Document& document = check->document;
  const Rectangle whole{0, 0, static_cast<double>(photograph.width), static_cast<double>(photograph.height)};
  const PhotoMeasures measures = MeasuresIn(whole, *check->person);
  check->lines.push_back(Measure("head", measures.head, document.head, document.heightMm));
  check->lines.push_back(Measure("space above", measures.top, document.top, document.heightMm));
  check->lines.push_back(Measure("eyes", measures.eyes, document.eyes, document.heightMm));
  check->lines.push_back(Measure("face width", measures.faceWidth, document.faceWidth, document.widthMm));
}

void AddScores(const Image& photograph, const ProbedFace& face, PhotoCheck* check) {
  const auto eyes = static_cast<int32_t>(std::clamp(check->person->eyes, 0.0, photograph.height - 1.0));
  const int32_t margin = photograph.width / 2;
  const QualityScores scores = ScoreFace(Continued(photograph, margin, eyes), face.Moved(-margin, -margin, 1, 1));
  check->lines.push_back(Score("tilt", scores.tilt, kLeastTilt));
  check->lines.push_back(Score("brightness", scores.brightness, kLeastBrightness));
  check->lines.push_back(Score("symmetry", scores.symmetry, kLeastSymmetry));
  check->lines.push_back(Score("background", scores.background, kLeastBackground));
}

}  // namespace

bool PhotoCheck::Passed() const {
  return std::all_of(lines.begin(), lines.end(), [](const CheckLine& line) { return line.Passed(); });
}

PhotoCheck CheckPhoto(FaceFinder& finder, PersonSegmenter& segmenter, const Image& photograph, const FileFacts& file,
                      const Preset& preset) {
  PhotoCheck check;
  check.document = Derive(preset);
  AddFile(photograph, file, preset, &check);
  std::vector<ProbedFace> faces = finder.Find(photograph);
  std::stable_sort(faces.begin(), faces.end(),
                   [](const ProbedFace& a, const ProbedFace& b) { return a.Width() > b.Width(); });
  check.lines.push_back(Exactly("faces", "", static_cast<double>(faces.size()), preset.persons));
  if (faces.empty()) return check;
  check.face = faces[0];
  if (preset.persons != 1) return check;
  constexpr double kOnItsSide = 45;
  if (std::abs(faces[0].Roll()) > kOnItsSide) {
    check.lines.push_back({"roll", "degrees", faces[0].Roll(), -kOnItsSide, kOnItsSide, 0});
    return check;
  }
  check.lines.push_back({"lean", "degrees", faces[0].Roll(), std::nullopt, std::nullopt, 0});
  MeasureOnePerson(segmenter, photograph, faces, &check);
  AddScores(photograph, faces[0], &check);
  return check;
}

}  // namespace qx::photo
