#include "bench/checks/report.h"

#include <algorithm>
#include <cstdio>
#include <map>

namespace qx::bench::checks {
namespace {

using photo::Measure;
using photo::MeasureId;
using photo::MeasureState;

MeasureState StateOf(const std::vector<Measure>& measures, MeasureId id) {
  return measures[static_cast<size_t>(id)].state;
}

bool IsReported(MeasureState state) {
  return state == MeasureState::kFailed || state == MeasureState::kRemark;
}

// What the defect's own measures say together.
MeasureState Worst(const std::vector<Measure>& measures, const std::vector<MeasureId>& own) {
  MeasureState worst = MeasureState::kNotAssessed;
  for (const MeasureId id : own) {
    const MeasureState state = StateOf(measures, id);
    const auto rank = [](MeasureState s) {
      switch (s) {
        case MeasureState::kFailed: return 3;
        case MeasureState::kRemark: return 2;
        case MeasureState::kPassed: return 1;
        default: return 0;
      }
    };
    if (rank(state) > rank(worst)) worst = state;
  }
  return worst;
}

const char* Words(Expected expected) {
  switch (expected) {
    case Expected::kPass: return "pass";
    case Expected::kReport: return "report";
    case Expected::kUnseen: return "blind";
    default: return "either";
  }
}

std::string Joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
  return text;
}

std::string Names(const std::vector<MeasureId>& ids) {
  std::vector<std::string> names;
  for (const MeasureId id : ids) names.emplace_back(photo::RowOf(id).name);
  return Joined(names);
}

// Other measures that fail now and did not before, with how often.
std::string Others(const Defect& defect, const std::vector<Result>& results) {
  std::map<std::string, int> counts;
  for (const Result& result : results) {
    for (size_t i = 0; i < result.after.size(); ++i) {
      const auto id = static_cast<MeasureId>(i);
      if (std::find(defect.own.begin(), defect.own.end(), id) != defect.own.end()) continue;
      counts[result.after[i].id] +=
          StateOf(result.after, id) == MeasureState::kFailed && StateOf(result.before, id) != MeasureState::kFailed;
    }
  }
  std::vector<std::string> parts;
  for (const auto& [name, count] : counts) {
    if (count > 0) parts.push_back(name + " " + std::to_string(count));
  }
  return Joined(parts);
}

void PrintEach(const Defect& defect, const Result& result) {
  for (const MeasureId id : defect.own) {
    const Measure &before = result.before[static_cast<size_t>(id)], &after = result.after[static_cast<size_t>(id)];
    const auto number = [](const Measure& measure) {
      char text[32] = "-";
      if (measure.value) std::snprintf(text, sizeof text, "%.3f", *measure.value);
      return std::string(text);
    };
    std::printf("    %-24s %-28s %8s %-12s -> %8s %s%s%s\n", result.portrait.c_str(), after.id.c_str(),
                number(before).c_str(), NameOf(before.state), number(after).c_str(), NameOf(after.state),
                after.state == MeasureState::kNotAssessed ? ": " : "",
                after.state == MeasureState::kNotAssessed ? after.reason.c_str() : "");
  }
}

}  // namespace

void Report::PrintPortrait(const std::string& name, const std::vector<Measure>& measures) const {
  std::map<MeasureState, std::vector<std::string>> states;
  for (const Measure& measure : measures) {
    char value[32] = "";
    if (measure.value) std::snprintf(value, sizeof value, " %.3g", *measure.value);
    states[measure.state].push_back(measure.id + value);
  }
  std::printf(markdown_ ? "| %s | %s | %s |\n" : "%-24s failed: %s; remarks: %s\n", name.c_str(),
              Joined(states[MeasureState::kFailed]).c_str(), Joined(states[MeasureState::kRemark]).c_str());
}

void Report::PrintHead() const {
  if (markdown_) {
    std::printf(
        "| defect | strength | own measures | should | failed | remark | passed | not assessed | others that "
        "fail now |\n|---|---|---|---|---|---|---|---|---|\n");
  } else {
    std::printf("%-24s %-32s %-7s %6s %6s %6s %6s  %s\n", "defect", "strength", "should", "failed", "remark", "passed",
                "not", "own measures; others that fail now");
  }
}

void Report::PrintDefect(const Defect& defect, const std::vector<Result>& results, bool each) {
  std::map<MeasureState, int> counts;
  for (const Result& result : results) {
    // One that was reported before tells nothing.
    if (IsReported(Worst(result.before, defect.own))) continue;
    const MeasureState now = Worst(result.after, defect.own);
    ++counts[now];
    if (defect.expected == Expected::kReport) ++shouldReport_, reported_ += IsReported(now);
    if (defect.expected == Expected::kPass) ++shouldPass_, falseAlarms_ += now == MeasureState::kFailed;
  }
  const std::string others = Others(defect, results);
  if (markdown_) {
    std::printf("| %s | %s | %s | %s | %d | %d | %d | %d | %s |\n", defect.name.c_str(), defect.strength.c_str(),
                Names(defect.own).c_str(), Words(defect.expected), counts[MeasureState::kFailed],
                counts[MeasureState::kRemark], counts[MeasureState::kPassed], counts[MeasureState::kNotAssessed],
                others.c_str());
  } else {
    std::printf("%-24s %-32s %-7s %6d %6d %6d %6d  %s; %s\n", defect.name.c_str(), defect.strength.c_str(),
                Words(defect.expected), counts[MeasureState::kFailed], counts[MeasureState::kRemark],
                counts[MeasureState::kPassed], counts[MeasureState::kNotAssessed], Names(defect.own).c_str(),
                others.c_str());
  }
  if (each) {
    for (const Result& result : results) PrintEach(defect, result);
  }
  std::fflush(stdout);
}

void Report::PrintSum() const {
  std::printf("\nReported %d of %d that should be; failed %d of %d that should not.\n", reported_, shouldReport_,
              falseAlarms_, shouldPass_);
}

}  // namespace qx::bench::checks
