#include "photo/check/check.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <utility>

#include "photo/check/document_rules.h"
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

std::vector<FaceBox> BoxesOf(const std::vector<ProbedFace>& faces, size_t from, size_t to) {
  std::vector<FaceBox> boxes;
  for (size_t i = from; i < to; ++i) boxes.push_back(faces[i].Box());
  return boxes;
}

void AddScores(const Image& photograph, const ProbedFace& face, bool child, PhotoCheck* check) {
  const auto eyes = static_cast<int32_t>(std::clamp(check->person->eyes, 0.0, photograph.height - 1.0));
  const int32_t margin = photograph.width / 2;
  Append(ScoreLines(ScoreFace(Continued(photograph, margin, eyes), face.Moved(-margin, -margin, 1, 1)), child), check);
}

// The lines of the one person that a document shows.
void AddPersonLines(const Image& photograph, const ProbedFace& face, const Mask& mask, bool child, PhotoCheck* check) {
  check->person = MeasurePerson(face, mask);
  const Rectangle whole{0, 0, static_cast<double>(photograph.width), static_cast<double>(photograph.height)};
  Append(MeasureLines(MeasuresIn(whole, *check->person), check->document), check);
  AddScores(photograph, face, child, check);
}

// The measures of the first `persons` faces, from the left.
std::vector<Measure> MeasurePersons(const Image& photograph, const std::vector<ProbedFace>& faces, size_t persons,
                                    const Mask* mask, const MeasureOptions& options) {
  std::vector<Measure> all;
  std::vector<size_t> order(persons);
  std::iota(order.begin(), order.end(), size_t{0});
  std::sort(order.begin(), order.end(), [&faces](size_t a, size_t b) {
    return std::pair(faces[a].Box().left, a) < std::pair(faces[b].Box().left, b);
  });
  for (const size_t person : order) {
    // The other person of the document is no stranger in the picture.
    std::vector<ProbedFace> seen{faces[person]};
    seen.insert(seen.end(), faces.begin() + static_cast<std::ptrdiff_t>(persons), faces.end());
    for (Measure& measure : MeasureFace(photograph, seen, mask, options)) {
      if (persons > 1) measure.person = person == order.front() ? "left" : "right";
      all.push_back(std::move(measure));
    }
  }
  return all;
}

}  // namespace

CheckCounts PhotoCheck::Counts() const {
  CheckCounts counts;
  for (const CheckLine& line : lines) {
    if (line.min || line.max) ++(line.Passed() ? counts.passed : counts.failed);
  }
  for (const Measure& measure : measures) {
    switch (measure.state) {
      case MeasureState::kPassed: ++counts.passed; break;
      case MeasureState::kFailed: ++counts.failed; break;
      case MeasureState::kRemark: ++counts.remarks; break;
      case MeasureState::kNotAssessed: ++counts.notAssessed; break;
    }
  }
  return counts;
}

PhotoCheck CheckPhoto(FaceFinder& finder, PersonSegmenter& segmenter, const Image& photograph, const FileFacts& file,
                      const Preset& preset, bool child) {
  PhotoCheck check;
  check.document = Derive(preset);
  check.file = file;
  Append(FileLines(photograph.width, photograph.height, file, preset, check.document), &check);
  std::vector<ProbedFace> faces = finder.Find(photograph);
  std::stable_sort(faces.begin(), faces.end(),
                   [](const ProbedFace& a, const ProbedFace& b) { return a.Width() > b.Width(); });
  check.lines.push_back(FacesLine(faces.size(), preset));
  const MeasureOptions options = OptionsFor(preset, check.document, file, child);
  if (faces.empty()) {
    check.measures = MeasureFace(photograph, faces, nullptr, options);
    return check;
  }
  check.face = faces[0];
  const size_t persons = std::min(faces.size(), static_cast<size_t>(preset.persons));
  bool stand = true;
  for (size_t i = 0; i < persons; ++i) {
    const CheckLine roll = RollLine(faces[i].Roll());
    if (!roll.Passed()) check.lines.push_back(roll);
    stand = stand && roll.Passed();
  }
  std::optional<Mask> mask;
  if (stand) {
    mask = segmenter.Segment(photograph, BoxesOf(faces, 0, persons), BoxesOf(faces, persons, faces.size()));
    if (preset.persons == 1) {
      check.lines.push_back(LeanLine(faces[0].Roll()));
      AddPersonLines(photograph, faces[0], *mask, child, &check);
    }
  }
  check.measures = MeasurePersons(photograph, faces, persons, mask ? &*mask : nullptr, options);
  return check;
}

}  // namespace qx::photo
