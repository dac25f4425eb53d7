#include "photo/remarks.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>

#include "photo/base/failure.h"
#include "photo/check/source_check.h"
#include "photo/place/fit_report.h"

namespace qx::photo {
namespace {

using State = Analysis::State;

constexpr double kMostLean = 5;  // degrees, from which on documents are refused

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

}  // namespace

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

void AddBalance(const Cast& cast, MadePhoto* made) {
  made->remarks.push_back(cast.a == 0 && cast.b == 0 ? "white balance left as it is: no cast that is sure"
                                                     : "white balance: " + NameOf(cast) + " cast taken away");
}

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

}  // namespace qx::photo
