#include "photo/place/placement.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qx::photo {
namespace {

constexpr double kRounding = 1e-6;
constexpr double kLeastWidth = 1.2;  // of the face, for the ears
constexpr double kTolerance = 1e-3;  // half a pixel of a usual document
constexpr double kMostCut = 0.05;    // more than measuring can be wrong by
constexpr double kHairInside = 0.01;

struct Goal {
  Miss::Bound bound;
  double value;
  const std::optional<Fraction>& wanted;
  double spared = 0;  // by which the value may stay below
};

std::array<Goal, 4> Compare(const PhotoMeasures& measures, const Goals& goals) {
  const double spared = goals.top ? goals.top->min - LeastTop(*goals.top, measures.HairAboveCrown(), goals.headTo) : 0;
  return {{{Miss::Bound::kHead, measures.Head(goals.headTo), goals.head},
           {Miss::Bound::kTop, measures.top, goals.top, spared},
           {Miss::Bound::kEyes, measures.eyes, goals.eyes},
           {Miss::Bound::kFaceWidth, measures.faceWidth, goals.faceWidth}}};
}

double Excess(const Goal& goal) {
  return std::max({goal.wanted->min - goal.spared - goal.value, goal.value - goal.wanted->max, 0.0});
}

// The squares of what is missing and, to choose among rectangles that miss nothing, a trifle for not being in the
// middle of the bounds.
double Cost(const PhotoMeasures& measures, const Goals& goals) {
  constexpr double kTrifle = 1e-7;
  double cost = 0;
  for (const Goal& goal : Compare(measures, goals)) {
    if (!goal.wanted) continue;
    const double excess = Excess(goal);
    const double middle = (goal.wanted->min + goal.wanted->max) / 2;
    const double half = std::max((goal.wanted->max - goal.wanted->min) / 2, kRounding);
    const double offset = (goal.value - middle) / half;
    cost += excess * excess + kTrifle * offset * offset;
  }
  return cost;
}

// Whether all of a rectangle of the turned photograph lies in the photograph.
bool LiesInside(const Rectangle& rectangle, const PersonGeometry& person, double slack) {
  for (const double x : {rectangle.left, rectangle.Right()}) {
    for (const double y : {rectangle.top, rectangle.Bottom()}) {
      const PlacePoint there = person.turn.Back({x, y});
      if (there.x < -slack || there.y < -slack || there.x > person.width + slack || there.y > person.height + slack) {
        return false;
      }
    }
  }
  return true;
}

// The part of the way from `from` to `to` on which a coordinate lies between `low` and `high`, cut out of [begin, end].
void Clip(double from, double to, double low, double high, double* begin, double* end) {
  const double way = to - from;
  if (way == 0) {
    if (from <= low || from >= high) *end = -1;
    return;
  }
  const double a = (low - from) / way, b = (high - from) / way;
  *begin = std::max(*begin, std::min(a, b));
  *end = std::min(*end, std::max(a, b));
}

// Whether the rectangle shows a place at which the photograph's edge cuts the person off.
bool HoldsCut(const Rectangle& rectangle, const PersonGeometry& person, double slack) {
  return std::any_of(person.cuts.begin(), person.cuts.end(), [&](const Cut& cut) {
    double begin = 0, end = 1;
    Clip(cut.from.x, cut.to.x, rectangle.left + slack, rectangle.Right() - slack, &begin, &end);
    Clip(cut.from.y, cut.to.y, rectangle.top + slack, rectangle.Bottom() - slack, &begin, &end);
    return begin < end;
  });
}

}  // namespace

Goals BoundsOf(const Document& document) {
  return {document.head, document.top, document.eyes, document.faceWidth, document.headTo};
}

Goals GoalsOf(const Document& document) {
  Goals goals = BoundsOf(document);
  if (!goals.head && !goals.faceWidth) goals.head = Fraction{0.60, 0.72};
  if (!goals.top) {
    // With the eyes set, no more than that the hair stays inside; otherwise somewhat less room above than below.
    const double room = goals.head ? 1 - (goals.head->min + goals.head->max) / 2 : 0.3;
    goals.top = goals.eyes ? Fraction{kHairInside, 1} : Fraction{0.25 * room, 0.5 * room};
  }
  return goals;
}

Goals AimsOf(const Document& document, const PersonGeometry& person) {
  Goals goals = GoalsOf(document);
  if (document.top || document.eyes || !goals.head || document.headTo != HeadTo::kCrown) return goals;
  const double above = (person.crown - person.headTop) / (person.chin - person.crown) * goals.head->min;
  const double closer = std::min(above, goals.top->min / 2);
  goals.top = Fraction{goals.top->min - closer, goals.top->max - closer};
  return goals;
}

double LeastTop(const Fraction& wanted, double above, HeadTo headTo) {
  if (headTo != HeadTo::kCrown || !(above > 0)) return wanted.min;
  return std::max(wanted.min - above, std::min(wanted.min, kHairInside));
}

Goals Narrowed(const Goals& goals, double part) {
  Goals narrowed = goals;
  for (auto* goal : {&narrowed.head, &narrowed.top, &narrowed.eyes, &narrowed.faceWidth}) {
    if (!*goal) continue;
    const double cut = std::min(part * ((*goal)->max - (*goal)->min), kMostCut);
    **goal = {(*goal)->min + cut, (*goal)->max - cut};
  }
  return narrowed;
}

std::vector<Miss> MissesOf(const PhotoMeasures& measures, const Goals& goals) {
  std::vector<Miss> misses;
  for (const Goal& goal : Compare(measures, goals)) {
    if (goal.wanted && Excess(goal) > kTolerance) {
      misses.push_back({goal.bound, goal.value, *goal.wanted});
    }
  }
  return misses;
}

bool IsClear(const Rectangle& rectangle, const PersonGeometry& person, const Obstacles& obstacles) {
  if (rectangle.width < kLeastWidth * person.faceWidth) return false;
  const double bottom = rectangle.Bottom();
  const double slack = kRounding * rectangle.height;
  if (obstacles.keep && !LiesInside(rectangle, person, slack)) return false;
  if (obstacles.foot && bottom > person.foot + slack) return false;
  if (!person.turn.IsNone()) return !obstacles.sides || !HoldsCut(rectangle, person, slack);
  const bool left = rectangle.left >= -slack, right = rectangle.Right() <= person.width + slack;
  const bool top = rectangle.top >= -slack;
  if (obstacles.sides && ((!left && bottom > person.leftCut) || (!right && bottom > person.rightCut))) return false;
  return !(obstacles.top && person.topCut && !top);
}

bool HoldsHead(const Rectangle& rectangle, const PersonGeometry& person) {
  const double slack = kRounding * rectangle.height;
  return person.headTop >= rectangle.top - slack && person.chin <= rectangle.Bottom() + slack &&
         person.faceLeft >= rectangle.left - slack && person.faceLeft + person.faceWidth <= rectangle.Right() + slack;
}

std::optional<Rectangle> FindNearest(const PersonGeometry& person, const Goals& goals, double proportions,
                                     const Obstacles& obstacles) {
  std::optional<Rectangle> nearest;
  double lowest = std::numeric_limits<double>::infinity();
  const auto consider = [&](double height, double top) {
    const Rectangle rectangle{person.centre - height * proportions / 2, top, height * proportions, height};
    const double cost = Cost(MeasuresIn(rectangle, person), goals);
    if (cost < lowest && IsClear(rectangle, person, obstacles)) {
      lowest = cost;
      nearest = rectangle;
    }
  };
  // The head takes between a fifth and the whole of the height, and lies inside: from the hair at the upper edge to the
  // chin at the lower one.
  const double head = person.chin - person.headTop, step = head / 150;
  for (double height = head; height <= 5 * head; height += step) {
    for (double top = person.headTop; top >= person.chin - height; top -= step) consider(height, top);
  }
  if (!nearest) return nearest;
  // Finer around what was found.
  constexpr int kFiner = 10;
  const Rectangle found = *nearest;
  for (int i = -kFiner; i <= kFiner; ++i) {
    for (int k = -kFiner; k <= kFiner; ++k) {
      const double height = found.height + i * step / kFiner, top = found.top + k * step / kFiner;
      if (height >= head && top <= person.headTop && top + height >= person.chin) consider(height, top);
    }
  }
  return nearest;
}

}  // namespace qx::photo
