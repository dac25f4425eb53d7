#include "photo/place/face_placement.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>

#include "crop/crop_settings.h"
#include "crop/fine_crop.h"
#include "face/face_record.h"

namespace qx::photo {
namespace {

// How far inside the bounds to aim, first choice first: a measurement that differs by a hair should still pass.
constexpr double kMargins[] = {0.35, 0.3, 0.25, 0.2, 0.15, 0.1, 0.05, 0};

// Width of the face in the frame in which the library looks for the rectangle, in pixels: as fine as a document's own,
// and half as fine as long as only the coarse mask is known.
constexpr double kFrameFace = 256, kCoarseFrameFace = 128;

// In the library's terms, where bounds of 0 are none at all.
FineCropParams ToParams(const Goals& goals, const Document& document) {
  constexpr double kAlmostNone = 1e-9;
  FineCropParams params{};
  params.width = document.width;
  params.height = document.height;
  const auto set = [&](const std::optional<Fraction>& goal, double* min, double* max) {
    if (!goal) return;
    *min = std::max<double>(goal->min, kAlmostNone);
    *max = std::max<double>(goal->max, kAlmostNone);
  };
  set(goals.head, &params.headMin, &params.headMax);
  set(goals.top, &params.topMin, &params.topMax);
  set(goals.eyes, &params.eyeMin, &params.eyeMax);
  // The library holds the face's width against the widest photograph, not the one it chooses.
  params.faceWidthMin = params.faceWidthMax = -1;
  return params;
}

// The library measures the mask: the head ends at the top of the hair there. Hair grows with the skull.
Goals WithHeadToHair(const Goals& goals, const PersonGeometry& person) {
  if (!goals.head || goals.headTo == HeadTo::kHair) return goals;
  const double ratio = (person.chin - person.headTop) / (person.chin - person.crown);
  Goals longer = goals;
  longer.head = {goals.head->min * ratio, goals.head->max * ratio};
  longer.headTo = HeadTo::kHair;
  return longer;
}

// A bound on the face's width is one on the head's length, since both grow alike. Nothing is left when they exclude
// each other.
std::optional<Goals> WithFaceWidthInHead(const Goals& goals, const PersonGeometry& person, double proportions) {
  if (!goals.faceWidth || person.faceWidth <= 0) return goals;
  const double ratio = (person.chin - person.headTop) / person.faceWidth * proportions;
  Goals merged = goals;
  merged.head = Fraction{goals.faceWidth->min * ratio, goals.faceWidth->max * ratio};
  if (goals.head) {
    merged.head = {std::max(merged.head->min, goals.head->min), std::min(merged.head->max, goals.head->max)};
  }
  if (merged.head->min > merged.head->max) return std::nullopt;
  return merged;
}

// The space above that hair leaves over when the head is as small as it may be: never less than any rectangle asks.
Goals WithLeastTop(const Goals& goals, const PersonGeometry& person) {
  Goals lower = goals;
  if (!goals.top || !goals.head) return lower;
  const double above = (person.crown - person.headTop) / (person.chin - person.crown) * goals.head->min;
  lower.top->min = LeastTop(*goals.top, above, goals.headTo);
  return lower;
}

// The widest frame around the face that the library's crop run makes, with the person's mask in it, at a small scale.
class Frame {
 public:
  explicit Frame(const FaceToPlace& placing) {
    qx::CropSettings settings;
    settings.SetRatio(1);
    const auto& eyes = placing.face.eyeCorners;
    const double dx = eyes[1].x - eyes[0].x, dy = eyes[1].y - eyes[0].y, unit = std::sqrt(dx * dx + dy * dy);
    const double frameFace = placing.view.part ? kFrameFace : kCoarseFrameFace;
    scale_ = std::min(1.0, frameFace / std::max(placing.person.faceWidth, 1.0));
    const auto& mouth = placing.face.mouthCorners;
    const double centreY = ((mouth[0].y + mouth[1].y) / 2 + (eyes[0].y + eyes[1].y) / 2) / 2;
    place_ = {placing.person.centre - unit * settings.ratioLeft, centreY - unit * settings.ratioUp,
              unit * settings.WidthRatio(), unit * settings.HeightRatio()};
    const Mask mask = placing.view.Sample(place_, scale_);
    record_.cropWidth = mask.width;
    record_.cropHeight = mask.height;
    record_.offsetX = (placing.person.centre - place_.left) * scale_;
    record_.offsetY = (centreY - place_.top) * scale_;
    for (size_t i = 0; i < placing.face.outline.size(); ++i) {
      record_.crop.attributes[i] = ToFrame(placing.face.outline[i]);
    }
    for (size_t i = 0; i < 2; ++i) record_.crop.keyPoints[i] = ToFrame(placing.face.eyes[i]);
    if (!record_.fgMask.Allocate(mask.values.size())) throw std::bad_alloc();
    std::memcpy(record_.fgMask.data(), mask.values.data(), mask.values.size());
  }

  // The rectangle of these proportions that meets the goals.
  std::optional<Rectangle> Find(const Goals& goals, const Document& document, double proportions) const {
    CropRect rect{};
    if (!FineCropSingle(record_, ToParams(goals, document), &rect)) return std::nullopt;
    // The library's rectangle has whole, odd widths; the document's proportions are kept to the fraction.
    const double height = (static_cast<double>(rect.bottom) - rect.top + 1) / scale_, width = height * proportions;
    const double middle = (static_cast<double>(rect.left) + rect.right + 1) / 2 / scale_ + place_.left;
    return Rectangle{middle - width / 2, rect.top / scale_ + place_.top, width, height};
  }

 private:
  qx::Point ToFrame(PlacePoint p) const {
    return {static_cast<int32_t>(std::floor((p.x - place_.left) * scale_)),
            static_cast<int32_t>(std::floor((p.y - place_.top) * scale_))};
  }

  double scale_ = 1;
  Rectangle place_;  // in the turned photograph
  FaceRecord record_;
};

bool Serves(const FaceToPlace& placing, const Rectangle& rectangle) {
  return IsClear(rectangle, placing.person, placing.obstacles) &&
         MissesOf(MeasuresIn(rectangle, placing.person), placing.goals).empty();
}

std::optional<Rectangle> PlaceInFrame(const Frame& frame, const FaceToPlace& placing, const Goals& wanted) {
  for (const double margin : kMargins) {
    const auto goals = WithFaceWidthInHead(WithHeadToHair(Narrowed(wanted, margin), placing.person), placing.person,
                                           placing.Proportions());
    if (!goals) continue;
    const auto rectangle = frame.Find(*goals, placing.document, placing.Proportions());
    if (rectangle && Serves(placing, *rectangle)) return rectangle;
  }
  return std::nullopt;
}

// With the space above that is wanted where that can be, else with what high hair leaves of it.
std::optional<Rectangle> PlaceByLibrary(const FaceToPlace& placing) {
  const Frame frame(placing);
  const auto rectangle = PlaceInFrame(frame, placing, placing.goals);
  if (rectangle || placing.person.crown == placing.person.headTop) return rectangle;
  return PlaceInFrame(frame, placing, WithLeastTop(placing.goals, placing.person));
}

// Where the person is cut off or the shoulders are narrow, the library finds none although there may be one.
std::optional<Rectangle> PlaceBySearch(const FaceToPlace& placing) {
  const auto any = FindNearest(placing.person, placing.goals, placing.Proportions(), placing.obstacles);
  if (!any || !Serves(placing, *any)) return std::nullopt;
  for (const double margin : kMargins) {
    const auto nearest =
        FindNearest(placing.person, Narrowed(placing.goals, margin), placing.Proportions(), placing.obstacles);
    if (nearest && Serves(placing, *nearest)) return nearest;
  }
  return std::nullopt;
}

}  // namespace

std::optional<Rectangle> PlaceFace(const FaceToPlace& placing) {
  const auto rectangle = PlaceByLibrary(placing);
  return rectangle ? rectangle : PlaceBySearch(placing);
}

}  // namespace qx::photo
