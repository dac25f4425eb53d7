#include "photo/place/person_geometry.h"

#include <algorithm>
#include <cmath>

#include "photo/base/failure.h"

namespace qx::photo {
namespace {

constexpr uint8_t kForeground = 64;         // above it
constexpr double kWisp = 0.1, kCut = 0.25;  // widths of hair, of the face's width
constexpr double kSamples = 256;  // rows and columns measured for a width of the face, where there are so many

bool IsPerson(uint8_t byte) {
  return byte > kForeground;
}

// Bilinear between the middles of the mask's pixels, of which the border goes on.
double SampleAt(const Mask& mask, double x, double y) {
  const double fromLeft = std::clamp(x - 0.5, 0.0, mask.width - 1.0);
  const double fromTop = std::clamp(y - 0.5, 0.0, mask.height - 1.0);
  const auto left = static_cast<int32_t>(fromLeft), top = static_cast<int32_t>(fromTop);
  const int32_t right = std::min(left + 1, mask.width - 1), bottom = std::min(top + 1, mask.height - 1);
  const double fx = fromLeft - left, fy = fromTop - top;
  const uint8_t *upper = mask.Row(top), *lower = mask.Row(bottom);
  const double a = upper[left] + fx * (upper[right] - upper[left]);
  const double b = lower[left] + fx * (lower[right] - lower[left]);
  return a + fy * (b - a);
}

// Where the mask of the whole photograph reaches its edges, and how far down it goes.
void MeasureEnds(const MaskView& view, PersonGeometry* person) {
  const Mask& mask = *view.whole;
  const double toX = static_cast<double>(view.width) / mask.width, toY = static_cast<double>(view.height) / mask.height;
  const auto firstInColumn = [&](int32_t x) {
    int32_t y = 0;
    while (y < mask.height && !IsPerson(mask.Row(y)[x])) ++y;
    return y;
  };
  person->leftCut = person->rightCut = view.height;
  if (view.turn.IsNone()) {
    int32_t foot = mask.height;
    while (foot > 0 && std::none_of(mask.Row(foot - 1), mask.Row(foot - 1) + mask.width, IsPerson)) --foot;
    person->foot = foot * toY;
    person->leftCut = firstInColumn(0) * toY;
    person->rightCut = firstInColumn(mask.width - 1) * toY;
    return;
  }
  const auto turned = [&](int32_t x, int32_t y) { return view.turn({x * toX, y * toY}); };
  for (int32_t x = 0; x < mask.width; ++x) {
    if (IsPerson(mask.Row(mask.height - 1)[x])) person->cuts.push_back(turned(x, mask.height));
    if (IsPerson(mask.Row(0)[x])) person->cuts.push_back(turned(x, 0));
  }
  for (int32_t y = 0; y < mask.height; ++y) {
    if (IsPerson(mask.Row(y)[0])) person->cuts.push_back(turned(0, y));
    if (IsPerson(mask.Row(y)[mask.width - 1])) person->cuts.push_back(turned(mask.width, y));
  }
  double foot = 0;
  for (int32_t y = mask.height; y > 0; --y) {
    for (int32_t x = 0; x < mask.width; ++x) {
      if (IsPerson(mask.Row(y - 1)[x])) foot = std::max(foot, turned(x, y).y);
    }
  }
  person->foot = foot;
}

// The highest row with more hair than a wisp, in the columns from `left` to `right` of the turned photograph.
void MeasureHair(const MaskView& view, double left, double right, PersonGeometry* person) {
  // Turned, the photograph's corners may come to lie above its own upper edge.
  double highest = 0;
  for (const double x : {0.0, static_cast<double>(view.width)}) highest = std::min(highest, view.turn({x, 0}).y);
  const double scale = std::min(1.0, kSamples / person->faceWidth);
  const auto rows = std::max(1, static_cast<int32_t>(std::floor((person->chin - highest) * scale)) + 1);
  const double wisp = std::floor(person->faceWidth * kWisp) * scale, cut = std::floor(person->faceWidth * kCut) * scale;
  int32_t top = 0;
  double first = 0;  // hair in the uppermost row
  for (double count = 0; top < rows; ++top) {
    const Mask row = view.Sample({left, highest + top / scale, right - left, 1 / scale}, scale);
    count = static_cast<double>(std::count_if(row.values.begin(), row.values.end(), IsPerson));
    if (top == 0) first = count;
    if (count > wisp) break;
  }
  if (top + 1 >= rows) {
    throw Failure(FailureCode::kNoPerson, "the mask shows no person where the face is; give another mask");
  }
  person->headTop = highest + top / scale;
  person->topCut = view.turn.IsNone() && first > cut;
}

}  // namespace

double MaskView::At(PlacePoint place) const {
  const PlacePoint p = turn.Back(place);
  if (p.x < 0 || p.y < 0 || p.x > width || p.y > height) return 0;
  if (part && p.x >= partBox.left && p.x <= partBox.right && p.y >= partBox.top && p.y <= partBox.bottom) {
    return SampleAt(*part, (p.x - partBox.left) * part->width / partBox.Width(),
                    (p.y - partBox.top) * part->height / partBox.Height());
  }
  return SampleAt(*whole, p.x * whole->width / width, p.y * whole->height / height);
}

Mask MaskView::Sample(const Rectangle& rectangle, double scale) const {
  Mask mask(std::max(1, static_cast<int32_t>(std::lround(rectangle.width * scale))),
            std::max(1, static_cast<int32_t>(std::lround(rectangle.height * scale))));
  for (int32_t y = 0; y < mask.height; ++y) {
    uint8_t* row = mask.Row(y);
    const double placeY = rectangle.top + (y + 0.5) / scale;
    for (int32_t x = 0; x < mask.width; ++x) {
      row[x] = static_cast<uint8_t>(At({rectangle.left + (x + 0.5) / scale, placeY}) + 0.5);
    }
  }
  return mask;
}

FacePlaces PlacesOf(const ProbedFace& face, const PixelBox& box, double scaleX, double scaleY, const Turn& turn) {
  const auto place = [&](const Point& p) { return turn({box.left + p.x / scaleX, box.top + p.y / scaleY}); };
  FacePlaces places;
  places.eyes = {place(face.keyPoints[0]), place(face.keyPoints[1])};
  places.eyeCorners = {place(face.landmarks[0]), place(face.landmarks[9])};
  places.mouthCorners = {place(face.landmarks[16]), place(face.landmarks[17])};
  std::transform(face.densePoints.begin(), face.densePoints.end(), places.outline.begin(), place);
  return places;
}

PersonGeometry MeasurePerson(const FacePlaces& face, const MaskView& view) {
  const auto [leftmost, rightmost] = std::minmax_element(
      face.outline.begin(), face.outline.end(), [](const PlacePoint& a, const PlacePoint& b) { return a.x < b.x; });
  const auto lowest = std::max_element(face.outline.begin(), face.outline.end(),
                                       [](const PlacePoint& a, const PlacePoint& b) { return a.y < b.y; });
  PersonGeometry person;
  person.width = view.width;
  person.height = view.height;
  person.turn = view.turn;
  person.chin = lowest->y;
  person.eyes = (face.eyes[0].y + face.eyes[1].y) / 2;
  person.centre = ((face.mouthCorners[0].x + face.mouthCorners[1].x) / 2 +  //
                   (face.eyeCorners[0].x + face.eyeCorners[1].x) / 2) /
                  2;
  person.faceLeft = leftmost->x;
  person.faceWidth = rightmost->x - leftmost->x;
  if (person.faceWidth < 1) {
    throw Failure(FailureCode::kTooSmall, "the face is too small to be measured; take the photograph from closer");
  }
  const double beside = std::floor(person.faceWidth / 2);
  MeasureHair(view, leftmost->x - beside, rightmost->x + beside + 1, &person);
  MeasureEnds(view, &person);
  return person;
}

PersonGeometry MeasurePerson(const ProbedFace& face, const Mask& mask) {
  MaskView view;
  view.width = mask.width;
  view.height = mask.height;
  view.whole = &mask;
  return MeasurePerson(PlacesOf(face, {}, 1, 1, Turn()), view);
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
