// From what was found in a photograph to the finished picture of a document.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>

#include "photo/analysis.h"
#include "photo/base/failure.h"
#include "photo/check/aligned_face.h"
#include "photo/check/source_check.h"
#include "photo/foreground/foreground.h"
#include "photo/place/face_placement.h"
#include "photo/place/fit_report.h"
#include "photo/place/framing.h"
#include "photo/place/pair_placement.h"
#include "photo/render/colour_cast.h"
#include "photo/render/extend_colours.h"

namespace qx::photo {
namespace {

using State = Analysis::State;

constexpr double kMostLean = 5;                                     // degrees, from which on documents are refused
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

struct Placed {
  Turn turn;
  double lean = 0, straightened = 0;
  PhotoMeasures measures;
  Rectangle rectangle;
  std::vector<Miss> givenUp;
  std::string pairProblem;
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

// Where the persons stand in the finished photograph, by measures as fine as it needs; the part is prepared then.
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

// Where a new background shows an outline of hair that is a guess.
void AddDoubt(const OutlineDoubt& doubt, MadePhoto* made) {
  constexpr float kMuch = 0.5f;
  std::string where;
  const auto add = [&](float share, const char* side) {
    if (share <= kMuch) return;
    where += where.empty() ? side : std::string(" and ") + side;
  };
  add(doubt.above, "above");
  add(doubt.left, "on the left");
  add(doubt.right, "on the right");
  if (where.empty()) return;
  made->remarks.push_back(
      (doubt.lively ? "hair cannot be told from what is behind it " : "hair and background have the same colour ") +
      where + ": look at it, or take the photograph before another wall");
}

// What a document that counts the head to its crown makes of hair that stands above it.
void AddHair(const Document& document, const PhotoMeasures& measures, MadePhoto* made) {
  constexpr double kWorthSaying = 0.015;  // of the head's length
  const double above = measures.HairAboveCrown();
  if (document.headTo != HeadTo::kCrown || !(above > kWorthSaying * measures.head)) return;
  char text[160];
  std::snprintf(text, sizeof text, "the hair stands %.0f %% above the crown; the head is measured to the crown",
                100 * above / measures.head);
  made->remarks.push_back(text);
  constexpr double kTolerance = 1e-3;
  if (!document.top || measures.top >= document.top->min - kTolerance) return;
  std::snprintf(text, sizeof text, "the space above is %.1f mm to the hair and %.1f mm to the crown, wanted from %.1f",
                measures.top * document.heightMm, (measures.top + above) * document.heightMm,
                document.top->min * document.heightMm);
  made->remarks.push_back(text);
}

// The measures of each person, which stand in the photograph as `placed` says.
std::vector<std::vector<Measure>> MeasureSources(const State& state, const MakeRequest& request, const Placed& placed,
                                                 double enlargement) {
  const PreparedPart& prepared = *state.prepared;
  const PhotographPart& part = prepared.part;
  std::vector<std::vector<Measure>> all;
  for (size_t i = 0; i < state.source.size(); ++i) {
    const ProbedFace& face = prepared.faces[i];
    const auto eyes = PlacesOf(face, part.box, part.ScaleX(), part.ScaleY(), Turn()).eyes;
    const SourceUse use{placed.straightened != 0, request.framing.turnedBy, enlargement, Distance(eyes[0], eyes[1])};
    std::vector<Measure> measures = MeasureSource(state.source[i], use, request.persons);
    if (request.background.IsKeep()) {
      const std::vector<Measure> wall = MeasureKeptBackground(part.picture, face, prepared.mask, request.persons);
      measures.insert(measures.end(), wall.begin(), wall.end());
    }
    all.push_back(std::move(measures));
  }
  return all;
}

const char* SideOf(size_t person) {
  return person == 0 ? "left" : "right";
}

// What failed, in words; of two persons each says whose it is.
std::vector<std::string> ReasonsOf(const std::vector<std::vector<Measure>>& persons) {
  std::vector<std::string> all;
  for (size_t i = 0; i < persons.size(); ++i) {
    const std::string whose = persons.size() == 1 ? "" : std::string(SideOf(i)) + " person: ";
    for (const std::string& reason : ReasonsOf(persons[i])) all.push_back(whose + reason);
  }
  return all;
}

bool HasFailed(const std::vector<std::vector<Measure>>& persons, MeasureId id) {
  const auto failed = [name = RowOf(id).name](const Measure& measure) {
    return measure.state == MeasureState::kFailed && measure.id == name;
  };
  return std::any_of(persons.begin(), persons.end(), [&failed](const std::vector<Measure>& measures) {
    return std::any_of(measures.begin(), measures.end(), failed);
  });
}

void RefuseUnsuitable(const std::vector<std::vector<Measure>>& persons) {
  std::string text;
  for (const std::string& reason : ReasonsOf(persons)) text += (text.empty() ? "" : "; ") + reason;
  if (text.empty()) return;
  FailureFields fields;
  for (size_t i = 0; i < persons.size(); ++i) {
    for (const Measure& measure : persons[i]) {
      if (measure.state != MeasureState::kFailed) continue;
      if (persons.size() > 1) fields.emplace_back("person", SideOf(i));
      fields.emplace_back("measure", measure.id);
      if (measure.value) fields.emplace_back("value", *measure.value);
      if (measure.min) fields.emplace_back("min", *measure.min);
      if (measure.max) fields.emplace_back("max", *measure.max);
    }
  }
  throw Failure(FailureCode::kUnsuitable, text, std::move(fields));
}

// How the head leans in the photograph, and in the picture.
void AddLean(const State& state, const Placed& placed, double turnedBy, MadePhoto* made) {
  char text[160];
  const auto side = [](double lean) { return lean > 0 ? "right" : "left"; };
  if (placed.straightened != 0) {
    std::snprintf(text, sizeof text, "straightened: the head leant %.1f degrees to the %s", std::abs(placed.lean),
                  side(placed.lean));
    made->remarks.push_back(text);
  }
  const double left = placed.lean - placed.straightened + turnedBy;
  if (state.persons.size() != 1 || std::abs(left) <= kMostLean || HasFailed(made->source, MeasureId::kHeadPoseRoll)) {
    return;
  }
  std::snprintf(text, sizeof text, "the head leans %.0f degrees to the %s%s", std::abs(left), side(left),
                turnedBy == 0 ? "; hold it straight" : "");
  made->remarks.push_back(text);
}

void AddRemarks(const State& state, const MakeRequest& request, const Placed& placed, MadePhoto* made) {
  const Document& document = request.document;
  char text[160];
  made->remarks = RemarksOnFaces(state);
  for (const std::string& reason : ReasonsOf(made->source)) made->remarks.push_back(reason);
  if (made->enlargement > 1.05 && !HasFailed(made->source, MeasureId::kInterEyeDistance)) {
    std::snprintf(text, sizeof text, "enlarged %.1f times: the photograph has too few pixels for %d x %d",
                  made->enlargement, document.width, document.height);
    made->remarks.push_back(text);
  }
  AddLean(state, placed, request.framing.turnedBy, made);
  if (state.persons.size() == 1) AddHair(document, made->measures, made);
  for (const Miss& miss : placed.givenUp) made->remarks.push_back("given up: " + MissText(miss, document));
  if (!placed.pairProblem.empty()) {
    made->remarks.push_back("given up: the usual room around the faces, for " + placed.pairProblem);
  }
}

// The measures of the first person after the face was made narrower.
PhotoMeasures MeasureAgain(FaceFinder& finder, const State& state, const PhotographPart& part, const Mask& mask,
                           const Placed& placed) {
  PreparedPart retouched{part, mask, {state.prepared->faces[0]}};
  finder.Refine(part.picture, &retouched.faces[0]);
  return MeasuresIn(placed.rectangle, Measurer(state, &retouched).Measure(placed.turn).persons[0]);
}

// The picture of the document from the part as it is now, and its opacity where the background is transparent.
Image Finish(const PhotographPart& part, const Mask& mask, const std::vector<ProbedFace>& faces,
             const MakeRequest& request, const Adjustment& adjustment, const Cast& cast, const Placed& placed,
             Mask* alpha) {
  const Background& background = request.background;
  if (background.IsKeep()) {
    Image finished = RenderPhoto(part, mask, background, placed.turn, placed.rectangle, request.document);
    Adjust(adjustment, cast, &finished);
    return finished;
  }
  const Rim rim = request.keepRim ? Rim::kKeep : Rim::kReduce;
  PhotographPart cleaned{EstimateForeground(part.picture, mask, faces[0].Width(), rim), part.box, part.width,
                         part.height};
  if (adjustment.IsNone() || background.IsTransparent()) {
    Image finished = RenderPhoto(cleaned, mask, background, placed.turn, placed.rectangle, request.document, alpha);
    if (adjustment.IsNone()) return finished;
    Adjust(adjustment, cast, &finished);
    ExtendColours(*alpha, &finished);
    return finished;
  }
  Image own;
  Mask coverage;
  Image finished =
      RenderPhoto(cleaned, mask, background, placed.turn, placed.rectangle, request.document, &coverage, &own);
  AdjustPerson(adjustment, cast, coverage, &own, &finished);
  return finished;
}

// The cast of the photograph's light, when it is to be taken away.
Cast CastOf(const PreparedPart& prepared, const Adjustment& adjustment) {
  return adjustment.whiteBalance ? MeasureCast(prepared.part.picture, prepared.mask, prepared.faces) : Cast();
}

void AddBalance(const Cast& cast, MadePhoto* made) {
  made->remarks.push_back(cast.a == 0 && cast.b == 0 ? "white balance left as it is: no cast that is sure"
                                                     : "white balance: " + NameOf(cast) + " cast taken away");
}

// The picture itself, and the one before retouching and adjustment. Returns the cast that was taken away.
Cast MakePictures(FaceFinder& finder, const State& state, const MakeRequest& request, const Placed& placed,
                  MadePhoto* made) {
  const PreparedPart& prepared = *state.prepared;
  const Adjustment& adjustment = request.adjustment;
  CheckRanges(adjustment);
  const Cast cast = CastOf(prepared, adjustment);
  const bool changed = !request.retouch.IsNone() || !adjustment.IsNone();
  if (request.compare && changed) {
    made->before =
        Finish(prepared.part, prepared.mask, prepared.faces, request, Adjustment(), Cast(), placed, &made->alphaBefore);
  }
  if (request.retouch.IsNone()) {
    made->image = Finish(prepared.part, prepared.mask, prepared.faces, request, adjustment, cast, placed, &made->alpha);
  } else {
    PhotographPart part = prepared.part;
    Mask mask = prepared.mask;
    RetouchFaces(prepared.faces, request.retouch, &part.picture, &mask);
    made->image = Finish(part, mask, prepared.faces, request, adjustment, cast, placed, &made->alpha);
    if (request.retouch.face != 0) made->measures = MeasureAgain(finder, state, part, mask, placed);
  }
  if (request.compare && !changed) {
    made->before = made->image;
    made->alphaBefore = made->alpha;
  }
  return cast;
}

}  // namespace

MadePhoto RenderAnalysed(PhotoSource& upright, FaceFinder& finder, Analysis::State* state, const MakeRequest& request) {
  CheckRanges(request.framing);
  const Placed placed = PlaceFinely(upright, finder, request, state);
  MadePhoto made;
  made.measures = placed.measures;
  made.givenUp = placed.givenUp;
  made.quarterTurns = state->quarterTurns;
  made.lean = placed.lean;
  made.straightened = placed.straightened;
  made.enlargement = request.document.height / placed.rectangle.height;
  made.source = MeasureSources(*state, request, placed, made.enlargement);
  if (request.strict) RefuseUnsuitable(made.source);
  const Cast cast = MakePictures(finder, *state, request, placed, &made);
  AddRemarks(*state, request, placed, &made);
  if (request.adjustment.whiteBalance) AddBalance(cast, &made);
  if (!request.background.IsKeep() && state->map && state->map->hair) AddDoubt(state->map->hair->doubt, &made);
  return made;
}

}  // namespace qx::photo
