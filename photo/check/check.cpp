#include "photo/check/check.h"

#include <algorithm>
#include <cmath>

#include "photo/check/measures.h"
#include "photo/face/crops.h"
#include "photo/person/mask.h"

namespace qx::photo {
namespace {

// The photograph with its borders continued by `margin`: the background's score looks further aside and down than close
// documents reach, and would see white there. From the row of the eyes downward the sides go on as they are there, for
// shoulders are no background.
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

void Append(std::vector<CheckLine> lines, PhotoCheck* check) {
  check->lines.insert(check->lines.end(), lines.begin(), lines.end());
}

// Gives back the person's mask.
Mask MeasureOnePerson(PersonSegmenter& segmenter, const Image& photograph, const std::vector<ProbedFace>& faces,
                      PhotoCheck* check) {
  std::vector<FaceBox> persons, others;
  for (const ProbedFace& face : faces) (&face == &faces[0] ? persons : others).push_back(face.Box());
  Mask mask = segmenter.Segment(photograph, persons, others);
  check->person = MeasurePerson(faces[0], mask);
  const Rectangle whole{0, 0, static_cast<double>(photograph.width), static_cast<double>(photograph.height)};
  Append(MeasureLines(MeasuresIn(whole, *check->person), check->document), check);
  return mask;
}

void AddScores(const Image& photograph, const ProbedFace& face, PhotoCheck* check) {
  const auto eyes = static_cast<int32_t>(std::clamp(check->person->eyes, 0.0, photograph.height - 1.0));
  const int32_t margin = photograph.width / 2;
  Append(ScoreLines(ScoreFace(Continued(photograph, margin, eyes), face.Moved(-margin, -margin, 1, 1))), check);
}

}  // namespace

PhotoCheck CheckPhoto(FaceFinder& finder, PersonSegmenter& segmenter, const Image& photograph, const FileFacts& file,
                      const Preset& preset, bool child) {
  PhotoCheck check;
  check.document = Derive(preset);
  Append(FileLines(photograph.width, photograph.height, file, preset, check.document), &check);
  std::vector<ProbedFace> faces = finder.Find(photograph);
  std::stable_sort(faces.begin(), faces.end(),
                   [](const ProbedFace& a, const ProbedFace& b) { return a.Width() > b.Width(); });
  check.lines.push_back(FacesLine(faces.size(), preset));
  const MeasureOptions options{child, preset.backgrounds};
  if (!faces.empty()) check.face = faces[0];
  if (preset.persons != 1) return check;
  if (faces.empty()) {
    check.measures = MeasureFace(photograph, faces, nullptr, options);
    return check;
  }
  const CheckLine roll = RollLine(faces[0].Roll());
  if (!roll.Passed()) {
    check.lines.push_back(roll);
    check.measures = MeasureFace(photograph, faces, nullptr, options);
    return check;
  }
  check.lines.push_back(LeanLine(faces[0].Roll()));
  const Mask mask = MeasureOnePerson(segmenter, photograph, faces, &check);
  AddScores(photograph, faces[0], &check);
  check.measures = MeasureFace(photograph, faces, &mask, options);
  return check;
}

}  // namespace qx::photo
