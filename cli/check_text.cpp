#include "cli/check_text.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <set>
#include <utility>

#include "photo/base/text.h"
#include "photo/document/units.h"
#include "photo/drawing/findings.h"

namespace qx::cli {
namespace {

using photo::CheckLine;
using photo::Measure;
using photo::MeasureState;

// At most three decimals, none that are zero.
std::string Number(double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%.3f", value);
  std::string number = text;
  number.erase(number.find_last_not_of('0') + 1);
  if (number.back() == '.') number.pop_back();
  return number == "-0" ? "0" : number;
}

template <typename ToText>
std::string LimitText(std::optional<double> min, std::optional<double> max, ToText text) {
  if (!min && !max) return "-";
  if (!max) return "from " + text(*min);
  if (!min) return "up to " + text(*max);
  if (*min == *max) return text(*min);
  return text(*min) + " to " + text(*max);
}

std::string LimitText(const CheckLine& line) {
  return LimitText(line.min, line.max, photo::Decimal);
}

// From where on it fails.
std::string LimitText(const Measure& measure) {
  const auto moved = [](std::optional<double> limit, double by) { return limit ? std::optional(*limit + by) : limit; };
  return LimitText(moved(measure.min, -measure.tolerance), moved(measure.max, measure.tolerance), Number);
}

// Columns as wide as their widest cell; nothing follows the last one.
class Table {
 public:
  explicit Table(std::string indent) : indent_(std::move(indent)) {}

  void Add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
  void AddTo(std::string* text) const {
    std::vector<size_t> widths;
    for (const auto& row : rows_) {
      widths.resize(std::max(widths.size(), row.size()), 0);
      for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    for (const auto& row : rows_) {
      std::string line = "\n" + indent_;
      for (size_t i = 0; i < row.size(); ++i) {
        const std::string blanks(widths[i] - row[i].size(), ' ');
        line += (i == 0 ? "" : "  ") + (i == kNumber ? blanks + row[i] : row[i] + blanks);
      }
      *text += line.substr(0, line.find_last_not_of(' ') + 1);
    }
  }

 private:
  static constexpr size_t kNumber = 1;  // the column whose cells stand on the right

  std::string indent_;
  std::vector<std::vector<std::string>> rows_;
};

void AddFindings(const char* title, const std::vector<std::pair<std::string, std::string>>& findings,
                 std::string* text) {
  if (findings.empty()) return;
  *text += std::string("\n  ") + title + ":";
  size_t width = 0;
  for (const auto& [name, reason] : findings) width = std::max(width, name.size());
  for (const auto& [name, reason] : findings) {
    *text += "\n    " + name + std::string(width - name.size(), ' ') + "  " + reason;
  }
}

void AddTable(const photo::PhotoCheck& check, bool all, std::string* text) {
  Table table("  ");
  for (const CheckLine& line : check.lines) {
    const char* state = !line.min && !line.max ? "" : line.Passed() ? "pass" : "FAIL";
    table.Add({TitleOf(line), photo::Decimal(line.value), line.unit, LimitText(line), state});
  }
  if (check.file.jpegQuality) {
    const photo::JpegQuality& quality = *check.file.jpegQuality;
    table.Add({"JPEG quality", std::to_string(quality.quality), quality.isExact ? "" : "about", "-", ""});
  }
  size_t left = 0;
  for (const Measure& measure : check.measures) {
    const bool assessed = measure.state != MeasureState::kNotAssessed;
    left += !assessed;
    if (!assessed && !all) continue;
    std::string state = measure.state == MeasureState::kPassed   ? "pass"
                        : measure.state == MeasureState::kFailed ? "FAIL"
                        : measure.state == MeasureState::kRemark ? "look"
                                                                 : "not assessed: " + measure.reason;
    table.Add({TitleOf(measure), measure.value ? Number(*measure.value) : "-", measure.unit, LimitText(measure),
               std::move(state)});
  }
  table.AddTo(text);
  if (left > 0 && !all) *text += "\n  " + std::to_string(left) + " not assessed, look yourself: --verbose says why";
}

}  // namespace

std::string CheckText(const std::string& photograph, const photo::PhotoCheck& check, CheckDetail detail) {
  std::string text = photo::Printable(photograph) + ": " + (check.Passed() ? "passed" : "failed");
  std::vector<std::pair<std::string, std::string>> failed, remarks;
  for (const CheckLine& line : check.lines) {
    if (line.Passed()) continue;
    const std::string unit = line.unit.empty() ? "" : " " + line.unit;
    failed.emplace_back(TitleOf(line), photo::FindingOf(line).reason + " (" + photo::Decimal(line.value) + unit +
                                           ", must be " + LimitText(line) + unit + ")");
  }
  for (const Measure& measure : check.measures) {
    if (measure.state == MeasureState::kFailed) failed.emplace_back(TitleOf(measure), measure.reason);
    if (measure.state == MeasureState::kRemark) remarks.emplace_back(TitleOf(measure), measure.reason);
  }
  AddFindings("to put right", failed, &text);
  AddFindings("to look at", remarks, &text);
  if (detail == CheckDetail::kFindings) return text;
  if (!failed.empty() || !remarks.empty()) text += "\n  all:";
  AddTable(check, detail == CheckDetail::kAll, &text);
  return text;
}

void CheckSummary::Add(const photo::PhotoCheck& check) {
  ++(check.Passed() ? passed_ : failed_);
  std::set<std::string> names;  // both persons of a photograph count once
  for (const CheckLine& line : check.lines) {
    if (!line.Passed()) names.insert(TitleOf(line));
  }
  for (const Measure& measure : check.measures) {
    if (measure.state == MeasureState::kFailed) names.insert(measure.title);
  }
  for (const std::string& name : names) ++failures_[name];
}

std::string CheckSummary::Text() const {
  std::string text = photo::Count(passed_ + failed_ + unread_, "photograph") + ": " + std::to_string(passed_) +
                     " passed, " + std::to_string(failed_) + " failed, " + std::to_string(unread_) + " not checked";
  std::vector<std::pair<std::string, size_t>> failures(failures_.begin(), failures_.end());
  std::stable_sort(failures.begin(), failures.end(), [](const auto& a, const auto& b) { return a.second > b.second; });
  std::vector<std::pair<std::string, std::string>> rows;
  for (const auto& [name, count] : failures) rows.emplace_back(name, photo::Count(count, "photograph"));
  AddFindings("failed by", rows, &text);
  return text;
}

}  // namespace qx::cli
