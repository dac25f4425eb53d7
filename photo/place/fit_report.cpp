#include "photo/place/fit_report.h"

#include <cmath>
#include <cstdio>
#include <utility>

namespace qx::photo {
namespace {

// Percents with a decimal only where whole ones would look the same as the bound.
std::string Percent(double fraction, double other) {
  char text[32];
  const bool close = std::lround(fraction * 100) == std::lround(other * 100);
  std::snprintf(text, sizeof text, close ? "%.1f" : "%.0f", fraction * 100);
  return text;
}

std::string Trimmed(double number) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", number);
  std::string trimmed = text;
  if (trimmed.size() > 2 && trimmed.substr(trimmed.size() - 2) == ".0") trimmed.resize(trimmed.size() - 2);
  return trimmed;
}

constexpr Obstacles kNoObstacles{false, false, false, false};

std::string SidesThatCut(const PersonGeometry& person) {
  if (!person.turn.IsNone()) return "the person is cut off at the photograph's edge";
  const bool left = person.leftCut < person.height, right = person.rightCut < person.height;
  return std::string("the person is cut off at the photograph's ") + (left && right ? "left and right edges"
                                                                      : left        ? "left edge"
                                                                                    : "right edge");
}

constexpr const char* kKeptEnds = "the background that is kept ends with the photograph";
constexpr const char* kHairIsCut = "the hair is cut off at the photograph's upper edge";

void AddFields(const Miss& miss, FailureFields* fields) {
  fields->insert(fields->end(), {{"bound", NameOf(miss.bound)},
                                 {"wanted_min", miss.wanted.min},
                                 {"wanted_max", miss.wanted.max},
                                 {"got", miss.value}});
}

// Which obstacle alone keeps the goals from being met; empty when it is no single one.
std::string Blame(const PersonGeometry& person, const Goals& goals, double proportions, const Obstacles& obstacles) {
  auto fits = [&](const Obstacles& fewer) {
    const auto nearest = FindNearest(person, goals, proportions, fewer);
    return nearest && MissesOf(MeasuresIn(*nearest, person), goals).empty();
  };
  if (!fits(kNoObstacles)) return "for this face the bounds exclude each other";
  Obstacles fewer = obstacles;
  fewer.keep = false;
  if (obstacles.keep && fits(fewer)) return kKeptEnds;
  fewer = obstacles;
  fewer.foot = false;
  if (fits(fewer)) return "the photograph ends too close below the chin";
  fewer = obstacles;
  fewer.sides = false;
  if (fits(fewer)) return SidesThatCut(person);
  fewer = obstacles;
  fewer.top = false;
  if (fits(fewer)) return kHairIsCut;
  return "the person is cut off at more than one edge of the photograph";
}

}  // namespace

const char* NameOf(Miss::Bound bound) {
  switch (bound) {
    case Miss::Bound::kHead: return "head";
    case Miss::Bound::kTop: return "top";
    case Miss::Bound::kEyes: return "eyes";
    case Miss::Bound::kFaceWidth: return "face_width";
  }
  return "";
}

std::string MissText(const Miss& miss, const Document& document) {
  const bool ofWidth = miss.bound == Miss::Bound::kFaceWidth;
  const char* const head = document.headTo == HeadTo::kHair ? "head with hair " : "head to the crown ";
  const char* const name = miss.bound == Miss::Bound::kHead   ? head
                           : miss.bound == Miss::Bound::kTop  ? "space above the head "
                           : miss.bound == Miss::Bound::kEyes ? "eyes "
                                                              : "face ";
  const char* const of = ofWidth                            ? " % of the width, wanted "
                         : miss.bound == Miss::Bound::kEyes ? " % of the height above the lower edge, wanted "
                                                            : " % of the height, wanted ";
  const double whole = ofWidth ? document.widthMm : document.heightMm;
  const double violated = miss.value < miss.wanted.min ? miss.wanted.min : miss.wanted.max;
  return name + Percent(miss.value, violated) + of + Trimmed(miss.wanted.min * 100) + " to " +
         Trimmed(miss.wanted.max * 100) + " (" + Trimmed(miss.wanted.min * whole) + " to " +
         Trimmed(miss.wanted.max * whole) + " mm)";
}

std::string MissAdvice(const Miss& miss, const Document& document) {
  const bool low = miss.value < miss.wanted.min;
  std::string advice;
  switch (miss.bound) {
    case Miss::Bound::kHead:
    case Miss::Bound::kFaceWidth: advice = low ? ": move closer" : ": step back"; break;
    case Miss::Bound::kTop: advice = low ? ": leave more room above the head" : ""; break;
    case Miss::Bound::kEyes: break;
  }
  return MissText(miss, document) + advice;
}

Failure NoFit(const PersonGeometry& person, const Document& document, const Goals& goals, const Obstacles& obstacles,
              const std::optional<Rectangle>& nearest) {
  const double proportions = 1.0 * document.width / document.height;
  std::string text = "no rectangle meets the bounds (" + Blame(person, goals, proportions, obstacles) + ")";
  FailureFields fields;
  if (!nearest) return {FailureCode::kNoFit, text + "; take another photograph", fields};
  fields.push_back({"nearest", 1.0});
  const char* separator = ": at best ";
  for (const Miss& miss : MissesOf(MeasuresIn(*nearest, person), goals)) {
    text += separator + MissAdvice(miss, document);
    separator = "; ";
    AddFields(miss, &fields);
  }
  return {FailureCode::kNoFit, text, std::move(fields)};
}

Failure LeavesBounds(const std::vector<Miss>& misses, const Document& document, bool serves) {
  std::string text = "the picture as it was moved leaves the bounds";
  FailureFields fields{{"moved", 1.0}};
  if (serves) fields.push_back({"nearest", 1.0});
  const char* separator = ": ";
  for (const Miss& miss : misses) {
    text += separator + MissText(miss, document);
    separator = "; ";
    AddFields(miss, &fields);
  }
  return {FailureCode::kNoFit, text, std::move(fields)};
}

std::string Hindrance(const Rectangle& rectangle, const PersonGeometry& person, const Obstacles& obstacles) {
  if (!HoldsHead(rectangle, person) || !IsClear(rectangle, person, kNoObstacles)) return "the head is not all in it";
  const auto meets = [&](bool Obstacles::*obstacle) {
    Obstacles one = kNoObstacles;
    one.*obstacle = obstacles.*obstacle;
    return !IsClear(rectangle, person, one);
  };
  if (meets(&Obstacles::keep)) return kKeptEnds;
  if (meets(&Obstacles::foot)) return "the photograph ends above the picture's lower edge";
  if (meets(&Obstacles::sides)) return SidesThatCut(person);
  return meets(&Obstacles::top) ? kHairIsCut : "";
}

Failure Hindered(const std::string& hindrance) {
  return {FailureCode::kNoFit, "the picture cannot be moved like that (" + hindrance + ")", {{"moved", 1.0}}};
}

}  // namespace qx::photo
