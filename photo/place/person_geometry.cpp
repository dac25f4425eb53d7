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
class Sampler {
 public:
  // `box`: what the mask shows of the photograph.
  Sampler(const Mask& mask, const PixelBox& box)
      : mask_(mask),
        box_(box),
        scaleX_(static_cast<float>(mask.width) / static_cast<float>(box.Width())),
        scaleY_(static_cast<float>(mask.height) / static_cast<float>(box.Height())),
        lastX_(static_cast<float>(mask.width - 1)),
        lastY_(static_cast<float>(mask.height - 1)) {}

  bool Holds(float x, float y) const {
    return x >= static_cast<float>(box_.left) && x <= static_cast<float>(box_.right) &&
           y >= static_cast<float>(box_.top) && y <= static_cast<float>(box_.bottom);
  }
  uint8_t At(float x, float y) const {
    const float fromLeft = std::clamp((x - static_cast<float>(box_.left)) * scaleX_ - 0.5f, 0.0f, lastX_);
    const float fromTop = std::clamp((y - static_cast<float>(box_.top)) * scaleY_ - 0.5f, 0.0f, lastY_);
    const auto left = static_cast<int32_t>(fromLeft), top = static_cast<int32_t>(fromTop);
    const int32_t right = left + (left + 1 < mask_.width), below = top + 1 < mask_.height ? mask_.width : 0;
    const float fx = fromLeft - static_cast<float>(left), fy = fromTop - static_cast<float>(top);
    const uint8_t* row = mask_.Row(top);
    const float a = row[left], b = row[right], c = row[below + left], d = row[below + right];
    const float upper = a + fx * (b - a), lower = c + fx * (d - c);
    return static_cast<uint8_t>(upper + fy * (lower - upper) + 0.5f);
  }

 private:
  const Mask& mask_;
  const PixelBox box_;
  const float scaleX_, scaleY_, lastX_, lastY_;
};

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
  // The runs of the person along an edge of so many pixels.
  const auto addCuts = [&](int32_t size, const auto& isPerson, const auto& placeOf) {
    for (int32_t first = 0, i = 0; i <= size; ++i) {
      if (i < size && isPerson(i)) continue;
      if (i > first) person->cuts.push_back({placeOf(first), placeOf(i)});
      first = i + 1;
    }
  };
  const auto inRow = [&](int32_t y) { return [row = mask.Row(y)](int32_t x) { return IsPerson(row[x]); }; };
  const auto inColumn = [&](int32_t x) { return [&mask, x](int32_t y) { return IsPerson(mask.Row(y)[x]); }; };
  addCuts(mask.width, inRow(mask.height - 1), [&](int32_t x) { return turned(x, mask.height); });
  // At the upper edge, no more hair than elsewhere is a wisp.
  const auto hair = static_cast<double>(std::count_if(mask.Row(0), mask.Row(0) + mask.width, IsPerson));
  if (toX * hair > kCut * person->faceWidth) addCuts(mask.width, inRow(0), [&](int32_t x) { return turned(x, 0); });
  addCuts(mask.height, inColumn(0), [&](int32_t y) { return turned(0, y); });
  addCuts(mask.height, inColumn(mask.width - 1), [&](int32_t y) { return turned(mask.width, y); });
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

// The chin's point.
template <typename Points>
auto Lowest(const Points& outline) {
  return std::max_element(outline.begin(), outline.end(),
                          [](const PlacePoint& a, const PlacePoint& b) { return a.y < b.y; });
}

FaceLengths LengthsOf(const std::array<PlacePoint, 2>& eyes, PlacePoint mouth, PlacePoint chin) {
  const PlacePoint between = Middle(eyes[0], eyes[1]);
  return {Distance(eyes[0], eyes[1]), Distance(between, mouth), Distance(between, chin)};
}

}  // namespace

Mask MaskView::Sample(const Rectangle& rectangle, double scale) const {
  Mask mask(std::max(1, static_cast<int32_t>(std::lround(rectangle.width * scale))),
            std::max(1, static_cast<int32_t>(std::lround(rectangle.height * scale))));
  const Sampler coarse(*whole, {0, 0, width, height});
  const Sampler fine = part ? Sampler(*part, partBox) : coarse;
  const auto right = static_cast<float>(width), bottom = static_cast<float>(height);
  const auto stepX = static_cast<float>(turn.Cos() / scale), stepY = static_cast<float>(-turn.Sin() / scale);
  for (int32_t y = 0; y < mask.height; ++y) {
    uint8_t* row = mask.Row(y);
    const PlacePoint first = turn.Back({rectangle.left + 0.5 / scale, rectangle.top + (y + 0.5) / scale});
    const auto firstX = static_cast<float>(first.x), firstY = static_cast<float>(first.y);
    for (int32_t x = 0; x < mask.width; ++x) {
      const float placeX = firstX + static_cast<float>(x) * stepX, placeY = firstY + static_cast<float>(x) * stepY;
      const bool outside = placeX < 0 || placeY < 0 || placeX > right || placeY > bottom;
      row[x] = outside ? uint8_t{0} : (fine.Holds(placeX, placeY) ? fine : coarse).At(placeX, placeY);
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
  const auto placeOfMesh = [&](int point) {
    const PlacePoint p = (*face.mesh)[point];
    return turn({box.left + p.x / scaleX, box.top + p.y / scaleY});
  };
  if (face.mesh) {
    places.lengths = LengthsOf({Middle(placeOfMesh(33), placeOfMesh(133)), Middle(placeOfMesh(362), placeOfMesh(263))},
                               Middle(placeOfMesh(13), placeOfMesh(14)), placeOfMesh(152));
  } else {
    places.lengths =
        LengthsOf(places.eyes, Middle(places.mouthCorners[0], places.mouthCorners[1]), *Lowest(places.outline));
  }
  return places;
}

PersonGeometry MeasurePerson(const FacePlaces& face, const MaskView& view) {
  const auto [leftmost, rightmost] = std::minmax_element(
      face.outline.begin(), face.outline.end(), [](const PlacePoint& a, const PlacePoint& b) { return a.x < b.x; });
  PersonGeometry person;
  person.width = view.width;
  person.height = view.height;
  person.turn = view.turn;
  person.chin = Lowest(face.outline)->y;
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
  const double hair = person.chin - person.headTop, head = CrownToChin(face.lengths, hair);
  person.crown = head < hair ? person.chin - head : person.headTop;
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
  measures.head = (person.chin - person.crown) / rectangle.height;
  measures.headWithHair = (person.chin - person.headTop) / rectangle.height;
  measures.top = (person.headTop - rectangle.top) / rectangle.height;
  measures.eyes = (rectangle.Bottom() - person.eyes) / rectangle.height;
  measures.faceWidth = person.faceWidth / rectangle.width;
  return measures;
}

}  // namespace qx::photo
