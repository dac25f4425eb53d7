#include "photo/placing.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "photo/base/failure.h"
#include "photo/place/face_placement.h"
#include "photo/place/fit_report.h"
#include "photo/place/framing.h"
#include "photo/place/pair_placement.h"

namespace qx::photo {
namespace {

using State = Analysis::State;

constexpr double kLeastStraightened = 0.5, kMostStraightened = 25;  // degrees
constexpr double kFineness = 2;  // pixels of the part for one of the document, where the photograph has them
constexpr double kRoom = 0.04;   // of the rectangle's height, by which the finer measures may still move it
// The same for drafts, which move on.
constexpr double kDraftFineness = 1.3, kDraftRoom = 0.2;
constexpr int kMostPlacings = 3;

// The persons of the photograph as measured, in the turned photograph.
struct Measured {
  MaskView view;
  std::vector<FacePlaces> faces;
  std::vector<PersonGeometry> persons;
};

// Measures by the overview's faces and the coarse mask or, when it is at hand, by a part.
class Measurer {
 public:
  Measurer(const State& state, const PreparedPart* prepared) : state_(state), prepared_(prepared) {}

  double Lean() const { return Faces()[0].Roll(); }

  Turn Straighten() const {
    const FacePlaces face = Places(Faces()[0], Turn());
    return {-Lean(), {(face.eyes[0].x + face.eyes[1].x) / 2, (face.eyes[0].y + face.eyes[1].y) / 2}};
  }

  Measured Measure(const Turn& turn) const {
    Measured measured;
    measured.view.width = state_.width;
    measured.view.height = state_.height;
    measured.view.whole = &state_.coarse;
    measured.view.turn = turn;
    if (prepared_) {
      measured.view.part = &prepared_->mask;
      measured.view.partBox = prepared_->part.box;
    }
    for (const ProbedFace& face : Faces()) {
      measured.faces.push_back(Places(face, turn));
      measured.persons.push_back(MeasurePerson(measured.faces.back(), measured.view));
    }
    return measured;
  }

 private:
  const std::vector<ProbedFace>& Faces() const { return prepared_ ? prepared_->faces : state_.persons; }
  FacePlaces Places(const ProbedFace& face, const Turn& turn) const {
    if (!prepared_) {
      return PlacesOf(face, {0, 0, state_.width, state_.height}, state_.toOverviewX, state_.toOverviewY, turn);
    }
    const PhotographPart& part = prepared_->part;
    return PlacesOf(face, part.box, part.ScaleX(), part.ScaleY(), turn);
  }

  const State& state_;
  const PreparedPart* prepared_;
};

Obstacles ObstaclesOf(const MakeRequest& request) {
  Obstacles obstacles;
  obstacles.keep = request.background.IsKeep();
  return obstacles;
}

// One person as measured with or without a turn, and where it would be placed.
struct Attempt {
  Turn turn;
  Measured measured;
  std::optional<Rectangle> rectangle;  // nothing when none is clear, or none meets the goals and that was asked for
  std::vector<Miss> misses;

  double Missed() const {
    double sum = 0;
    for (const Miss& miss : misses) {
      const double excess = std::max(miss.wanted.min - miss.value, miss.value - miss.wanted.max);
      sum += excess * excess;
    }
    return sum;
  }
};

Attempt TryToMeet(const Measurer& measurer, const Turn& turn, const MakeRequest& request) {
  Attempt attempt{turn, measurer.Measure(turn), std::nullopt, {}};
  const Measured& measured = attempt.measured;
  const PersonGeometry& person = measured.persons[0];
  const auto place = [&](const Goals& goals) {
    return PlaceFace({measured.faces[0], measured.view, person, request.document, goals, ObstaclesOf(request)});
  };
  attempt.rectangle = place(AimsOf(request.document, person));
  if (!attempt.rectangle && person.crown != person.headTop) attempt.rectangle = place(GoalsOf(request.document));
  return attempt;
}

// The nearest rectangle instead.
void ComeNear(const MakeRequest& request, Attempt* attempt) {
  const Document& document = request.document;
  const PersonGeometry& person = attempt->measured.persons[0];
  const Goals goals = GoalsOf(document);
  const double proportions = static_cast<double>(document.width) / document.height;
  attempt->rectangle = FindNearest(person, goals, proportions, ObstaclesOf(request));
  if (attempt->rectangle) attempt->misses = MissesOf(MeasuresIn(*attempt->rectangle, person), goals);
}

// The turned photograph where it meets the bounds, else the photograph as it is where that does, else, with `relax`,
// whichever comes nearer. No rectangle in the answer where none is clear.
Attempt ChooseAttempt(const Measurer& measurer, const MakeRequest& request, bool relax) {
  const double lean = std::abs(measurer.Lean());
  std::optional<Attempt> turned;
  if (request.straighten && lean >= kLeastStraightened && lean <= kMostStraightened) {
    turned = TryToMeet(measurer, measurer.Straighten(), request);
    if (turned->rectangle) return std::move(*turned);
  }
  Attempt plain = TryToMeet(measurer, Turn(), request);
  if (plain.rectangle) return plain;
  ComeNear(request, &plain);
  if (!turned || !relax) return plain;
  ComeNear(request, &*turned);
  const bool better = turned->rectangle && (!plain.rectangle || turned->Missed() <= plain.Missed());
  return better ? std::move(*turned) : std::move(plain);
}

// What the request makes of the chosen rectangle. Of two persons no bounds count.
void Reframe(const Measurer& measurer, Measured measured, const MakeRequest& request, bool relax, Placed* placed) {
  if (request.framing.IsNone()) return;
  const Frame frame = Reframed({-placed->straightened, placed->turn, placed->rectangle}, request.framing);
  if (request.framing.turnedBy != 0) measured = measurer.Measure(frame.turn);
  const PhotoMeasures measures = MeasuresIn(frame.rectangle, measured.persons[0]);
  std::vector<Miss> misses;
  if (measured.persons.size() == 1) misses = MissesOf(measures, BoundsOf(request.document));
  for (const PersonGeometry& person : measured.persons) {
    const std::string hindrance = Hindrance(frame.rectangle, person, ObstaclesOf(request));
    if (hindrance.empty()) continue;
    if (!misses.empty() && !request.relax) throw LeavesBounds(misses, request.document, false);
    throw Hindered(hindrance);
  }
  if (!misses.empty() && !relax) throw LeavesBounds(misses, request.document, true);
  placed->turn = frame.turn;
  placed->rectangle = frame.rectangle;
  placed->measures = measures;
  placed->givenUp = std::move(misses);
}

// With `relax` the nearest rectangle serves where none meets the bounds.
Placed PlaceOne(const Measurer& measurer, const MakeRequest& request, bool relax) {
  Attempt attempt = ChooseAttempt(measurer, request, relax);
  const PersonGeometry& person = attempt.measured.persons[0];
  if (!attempt.rectangle || (!attempt.misses.empty() && !relax)) {
    throw NoFit(person, request.document, GoalsOf(request.document), ObstaclesOf(request), attempt.rectangle);
  }
  Placed placed;
  placed.turn = attempt.turn;
  placed.lean = measurer.Lean();
  if (!attempt.turn.IsNone()) placed.straightened = placed.lean;
  placed.rectangle = *attempt.rectangle;
  placed.measures = MeasuresIn(*attempt.rectangle, person);
  placed.givenUp = attempt.misses;
  Reframe(measurer, std::move(attempt.measured), request, relax, &placed);
  return placed;
}

Placed PlaceTwo(const State& state, const Measurer& measurer, const MakeRequest& request, bool relax) {
  Measured measured = measurer.Measure(Turn());
  const std::array<FacePlaces, 2> faces{measured.faces[0], measured.faces[1]};
  const std::array<PersonGeometry, 2> persons{measured.persons[0], measured.persons[1]};
  const PairGeometry pair = MeasurePair(faces, persons, state.coarse);
  const double proportions = static_cast<double>(request.document.width) / request.document.height;
  const auto [rectangle, problem] = PlacePair(pair, persons, proportions, ObstaclesOf(request), relax);
  if (!rectangle) {
    throw Failure(
        FailureCode::kNoFit,
        "no rectangle shows both persons with the usual room on all sides: " + problem + "; take another photograph",
        request.relax ? FailureFields{{"what", "pair"}, {"relaxed", 1.0}} : FailureFields{{"what", "pair"}});
  }
  Placed placed;
  placed.lean = measurer.Lean();
  placed.rectangle = *rectangle;
  placed.measures = MeasuresIn(*rectangle, persons[0]);
  placed.pairProblem = problem;
  Reframe(measurer, std::move(measured), request, relax, &placed);
  return placed;
}

// By the coarse measures, a rectangle that misses the bounds serves as well: the finer ones decide.
Placed Place(const State& state, const PreparedPart* prepared, const MakeRequest& request) {
  const Measurer measurer(state, prepared);
  const bool relax = request.relax || !prepared;
  return state.persons.size() == 1 ? PlaceOne(measurer, request, relax) : PlaceTwo(state, measurer, request, relax);
}

// The part of the photograph that a rectangle of the turned one needs, `room` of its height more on all sides.
PixelBox BoxAround(const State& state, const Placed& placed, const Document& document, double room) {
  const Rectangle& r = placed.rectangle;
  const double pixel = r.height / document.height;  // of the document, in pixels of the photograph
  const double reach = room * r.height + pixel * RenderReach(1) + 2;
  double left = 1e9, top = 1e9, right = -1e9, bottom = -1e9;
  for (const double x : {r.left - reach, r.Right() + reach}) {
    for (const double y : {r.top - reach, r.Bottom() + reach}) {
      const PlacePoint there = placed.turn.Back({x, y});
      left = std::min(left, there.x);
      top = std::min(top, there.y);
      right = std::max(right, there.x);
      bottom = std::max(bottom, there.y);
    }
  }
  const auto clip = [](double v, int32_t size) { return static_cast<int32_t>(std::clamp(v, 0.0, 1.0 * size)); };
  return {clip(std::floor(left), state.width), clip(std::floor(top), state.height), clip(std::ceil(right), state.width),
          clip(std::ceil(bottom), state.height)};
}

bool Holds(const PixelBox& box, const PixelBox& inner) {
  return inner.left >= box.left && inner.top >= box.top && inner.right <= box.right && inner.bottom <= box.bottom;
}

// Whether the part at hand does for a draft: it holds the picture, is nearly as fine as one read for it, and not so
// much finer that its pixels cost more than the reading.
bool ServesDraft(const State& state, const Placed& placed, const Document& document) {
  if (!state.prepared) return false;
  const PhotographPart& part = state.prepared->part;
  const double wanted = std::min(1.0, kDraftFineness * document.height / placed.rectangle.height);
  const double fineness = part.picture.height / (wanted * part.box.Height());
  return fineness >= 0.8 && fineness <= 2 && Holds(part.box, BoxAround(state, placed, document, 0));
}

// Reads the part, unless it is the one at hand.
void Prepare(PhotoSource& upright, FaceFinder& finder, const Placed& placed, const MakeRequest& request, State* state) {
  const Document& document = request.document;
  if (request.draft && ServesDraft(*state, placed, document)) return;
  const PixelBox box = BoxAround(*state, placed, document, request.draft ? kDraftRoom : kRoom);
  const double fineness = request.draft ? kDraftFineness : kFineness;
  double scale = std::min(1.0, fineness * document.height / placed.rectangle.height);
  constexpr double kNotWorthIt = 0.85;
  if (scale > kNotWorthIt) scale = 1;
  const auto size = [scale](int32_t side) { return std::max(1, static_cast<int32_t>(std::ceil(side * scale))); };
  const int32_t width = size(box.Width()), height = size(box.Height());
  if (state->prepared && state->prepared->part.box == box && state->prepared->part.picture.width == width &&
      state->prepared->part.picture.height == height) {
    return;
  }
  state->prepared.reset();
  PreparedPart prepared;
  prepared.part = {upright.Part(box, width, height), box, state->width, state->height};
  prepared.mask = MaskOfPart(*state, prepared.part);
  for (const ProbedFace& face : state->persons) {
    ProbedFace there =
        face.Moved(box.left * state->toOverviewX, box.top * state->toOverviewY,
                   prepared.part.ScaleX() / state->toOverviewX, prepared.part.ScaleY() / state->toOverviewY);
    finder.Refine(prepared.part.picture, &there);
    prepared.faces.push_back(there);
  }
  state->prepared = std::move(prepared);
}

}  // namespace

Placed PlaceFinely(PhotoSource& upright, FaceFinder& finder, const MakeRequest& request, State* state) {
  Placed placed = Place(*state, nullptr, request);
  for (int i = 0; i < kMostPlacings; ++i) {
    Prepare(upright, finder, placed, request, state);
    placed = Place(*state, &*state->prepared, request);
    if (Holds(state->prepared->part.box, BoxAround(*state, placed, request.document, 0))) return placed;
  }
  Prepare(upright, finder, placed, request, state);  // the measures waver: the last ones stand
  return placed;
}

PhotoMeasures MeasureAgain(FaceFinder& finder, const State& state, const PhotographPart& part, const Mask& mask,
                           const Placed& placed) {
  PreparedPart retouched{part, mask, {state.prepared->faces[0]}};
  finder.Refine(part.picture, &retouched.faces[0]);
  return MeasuresIn(placed.rectangle, Measurer(state, &retouched).Measure(placed.turn).persons[0]);
}

}  // namespace qx::photo
