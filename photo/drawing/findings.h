// What a check found, in words: lines and measures alike, for drawings and pages.
#ifndef QX_PHOTO_DRAWING_FINDINGS_H
#define QX_PHOTO_DRAWING_FINDINGS_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "photo/check/check.h"

namespace qx::photo {

enum class FindingState { kFailed, kRemark, kPassed, kShown, kNotAssessed };  // in the order in which people read them

struct Finding {
  FindingState state = FindingState::kNotAssessed;
  std::string id;     // of the line or measure
  std::string title;  // for people
  std::string value;  // with its unit; empty where there is none
  bool hasUnit = false;
  std::string limit;   // "32–36"; empty where there is none
  std::string score;   // 0 to 100; empty where there is none
  std::string source;  // of the limit
  std::string reason;  // what is wrong and what to do, or why there is no verdict
};

Finding FindingOf(const CheckLine& line);
Finding FindingOf(const Measure& measure);
// Those of one state together, each in the order of the check.
std::vector<Finding> FindingsOf(const PhotoCheck& check);
size_t CountOf(const std::vector<Finding>& findings, FindingState state);

// "1 failed, 2 remarks, 30 passed": the check's result in a line.
std::string SummaryOf(const std::vector<Finding>& findings);

// A sign that tells the state without colour: a cross, an exclamation mark, a tick, a dot, a dash.
const char* SignOf(FindingState state);
// "failed", "remark", "passed", "only shown", "not assessed".
const char* NameOf(FindingState state);

FindingState StateOf(const CheckLine& line);
FindingState StateOf(const Measure& measure);
// "33.1 mm", "4°", "0.52".
std::string ValueText(double value, const std::string& unit);
// "32–36", "≥ 90", "≤ 0.5", "-5 to 5 ± 3", of which the last is a tolerance above 0; empty without limits.
std::string LimitText(const std::optional<double>& min, const std::optional<double>& max, double tolerance = 0);

}  // namespace qx::photo

#endif  // QX_PHOTO_DRAWING_FINDINGS_H
