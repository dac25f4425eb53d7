#include "photo/place/person_geometry.h"

#include <algorithm>
#include <cmath>

#include "photo/base/failure.h"

namespace qx::photo {
namespace {

constexpr uint8_t kForeground = 64;         // above it
constexpr double kWisp = 0.1, kCut = 0.25;  // widths of hair, of the face's width

class MaskView {
 public:
  explicit MaskView(const Mask& mask) : mask_(mask) {}

  int32_t CountInRow(int32_t y, int32_t left, int32_t right) const {  // both inclusive
    const uint8_t* row = mask_.Row(y);
    return static_cast<int32_t>(
        std::count_if(row + left, row + right + 1, [](uint8_t byte) { return byte > kForeground; }));
  }
  bool AnyInRow(int32_t y, int32_t left, int32_t right) const {
    const uint8_t* row = mask_.Row(y);
    return std::any_of(row + left, row + right + 1, [](uint8_t byte) { return byte > kForeground; });
  }
  // The first row, from above, in which the column shows the person; the height when none does.
  int32_t FirstInColumn(int32_t x) const {
    int32_t y = 0;
    while (y < mask_.height && !AnyInRow(y, x, x)) ++y;
    return y;
  }

 private:
  const Mask& mask_;
};

}  // namespace

PersonGeometry MeasurePerson(const ProbedFace& face, const Mask& mask) {
  const int32_t width = mask.width, height = mask.height;
  const auto [leftmost, rightmost] = std::minmax_element(face.densePoints.begin(), face.densePoints.end(),
                                                         [](const Point& a, const Point& b) { return a.x < b.x; });
  const auto lowest = std::max_element(face.densePoints.begin(), face.densePoints.end(),
                                       [](const Point& a, const Point& b) { return a.y < b.y; });
  const auto& l = face.landmarks;
  PersonGeometry person;
  person.width = width;
  person.height = height;
  person.chin = lowest->y;
  person.eyes = (face.keyPoints[0].y + face.keyPoints[1].y) / 2.0;
  person.centre = ((l[16].x + l[17].x) / 2.0 + (l[0].x + l[9].x) / 2.0) / 2;  // between mouth and outer eye corners
  person.faceLeft = leftmost->x;
  person.faceWidth = rightmost->x - leftmost->x;

  const MaskView view(mask);
  const auto beside = static_cast<int32_t>(person.faceWidth / 2);
  const int32_t left = std::clamp(leftmost->x - beside, 0, width - 1);
  const int32_t right = std::clamp(rightmost->x + beside, 0, width - 1);
  const int32_t chinRow = std::clamp(lowest->y, 0, height - 1);
  int32_t top = 0;
  // A wisp of hair is no head, and one that reaches the edge is no cut.
  const auto wisp = static_cast<int32_t>(person.faceWidth * kWisp), cut = static_cast<int32_t>(person.faceWidth * kCut);
  while (top <= chinRow && view.CountInRow(top, left, right) <= wisp) ++top;
  if (top >= chinRow)
    throw Failure(FailureCode::kNoPerson, "the mask shows no person where the face is; give another mask");
  person.headTop = top;
  person.topCut = view.CountInRow(0, left, right) > cut;
  int32_t foot = height;
  while (foot > 0 && !view.AnyInRow(foot - 1, 0, width - 1)) --foot;
  person.foot = foot;
  person.leftCut = view.FirstInColumn(0);
  person.rightCut = view.FirstInColumn(width - 1);
  return person;
}

FaceBox BoxOf(const ProbedFace& face) {
  const auto& c = face.corners;
  const auto [left, right] = std::minmax({c[0].x, c[1].x, c[2].x, c[3].x});
  const auto [top, bottom] = std::minmax({c[0].y, c[1].y, c[2].y, c[3].y});
  FaceBox box;
  box.left = left;
  box.top = top;
  box.right = right;
  box.bottom = bottom;
  return box;
}

PhotoMeasures MeasuresIn(const Rectangle& rectangle, const PersonGeometry& person) {
  PhotoMeasures measures;
  measures.head = (person.chin - person.headTop) / rectangle.height;
  measures.top = (person.headTop - rectangle.top) / rectangle.height;
  measures.eyes = (rectangle.Bottom() - person.eyes) / rectangle.height;
  measures.faceWidth = person.faceWidth / rectangle.width;
  return measures;
}

}  // namespace qx::photo
