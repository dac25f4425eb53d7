#include "photo/check/check.h"

#include <algorithm>
#include <cmath>

#include "photo/base/failure.h"

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
    for (int32_t x = 0; x < wide.width; ++x) {
      const int32_t column = std::clamp(x - margin, 0, photograph.width - 1);
      to = std::copy_n(photograph.At(column, column == x - margin ? row : sideRow), 3, to);
    }
  }
  return wide;
}

// The face in the continued photograph. Its faces may come in another order than the photograph's.
int32_t FindAgain(const std::vector<ProbedFace>& faces, const ProbedFace& sought, int32_t margin) {
  const auto distance = [&](const ProbedFace& face) {
    const auto between = [&](size_t eye) {
      const Point &there = face.keyPoints[eye], &here = sought.keyPoints[eye];
      return std::hypot(there.x - margin - here.x, there.y - margin - here.y);
    };
    return (between(0) + between(1)) / 2;
  };
  const auto nearest = std::min_element(
      faces.begin(), faces.end(), [&](const ProbedFace& a, const ProbedFace& b) { return distance(a) < distance(b); });
  if (nearest == faces.end() || distance(*nearest) > sought.Width() / 2) {
    throw Failure(FailureCode::kFaceLost, "the face is too unclear to be scored; take a brighter, sharper photograph");
  }
  return static_cast<int32_t>(nearest - faces.begin());
}

void Append(std::vector<CheckLine> lines, PhotoCheck* check) {
  check->lines.insert(check->lines.end(), lines.begin(), lines.end());
}

}  // namespace

PhotoChecker::PhotoChecker() {
  CropSettings settings;
  settings.sourceScale = true;
  engine_.Configure(settings);
}

void PhotoChecker::MeasureOnePerson(const Image& photograph, const std::vector<ProbedFace>& faces, PhotoCheck* check) {
  std::vector<FaceBox> persons, others;
  for (const ProbedFace& face : faces) {
    (&face == &faces[0] ? persons : others).push_back(BoxOf(face));
  }
  const Mask mask = segmenter_.Segment(photograph, persons, others);
  check->person = MeasurePerson(faces[0], mask);
  const Rectangle whole{0, 0, static_cast<double>(photograph.width), static_cast<double>(photograph.height)};
  Append(MeasureLines(MeasuresIn(whole, *check->person), check->document), check);
}

void PhotoChecker::AddScores(const Image& photograph, PhotoCheck* check) {
  const auto eyes = static_cast<int32_t>(std::clamp(check->person->eyes, 0.0, photograph.height - 1.0));
  const int32_t margin = photograph.width / 2;
  const Image wide = Continued(photograph, margin, eyes);
  // The crops are in the order of the faces.
  const int32_t face = FindAgain(probe_.Probe(wide), *check->face, margin);
  Append(ScoreLines(engine_.Quality(engine_.CropFaces(wide), face)), check);
}

PhotoCheck PhotoChecker::Check(const Image& photograph, const FileFacts& file, const Preset& preset) {
  PhotoCheck check;
  check.document = Derive(preset);
  Append(FileLines(photograph.width, photograph.height, file, preset, check.document), &check);
  std::vector<ProbedFace> faces = probe_.Probe(photograph);
  std::stable_sort(faces.begin(), faces.end(),
                   [](const ProbedFace& a, const ProbedFace& b) { return a.Width() > b.Width(); });
  check.lines.push_back(FacesLine(faces.size(), preset));
  if (faces.empty()) return check;
  check.face = faces[0];
  if (preset.persons != 1) return check;
  const CheckLine roll = RollLine(faces[0].Roll());
  if (!roll.Passed()) {
    check.lines.push_back(roll);
    return check;
  }
  MeasureOnePerson(photograph, faces, &check);
  AddScores(photograph, &check);
  return check;
}

}  // namespace qx::photo
