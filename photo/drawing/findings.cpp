#include "photo/drawing/findings.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "photo/document/units.h"

namespace qx::photo {
namespace {

// What a line that failed says below and above its limits.
struct LineAdvice {
  const char* name;
  const char* below;
  const char* above;
};
constexpr LineAdvice kAdvice[] = {
    {"width", "the picture is not wide enough", "the picture is too wide"},
    {"height", "the picture is not high enough", "the picture is too high"},
    {"resolution", "the file's resolution is too low", "the file's resolution is too high"},
    {"file size", "the file is too small", "the file is too large"},
    {"head", "the head is too small", "the head is too large"},
    {"space above", "too little space above the head", "too much space above the head"},
    {"eyes", "the eyes are too low", "the eyes are too high"},
    {"face width", "the face is too narrow", "the face is too wide"},
};

// Lines whose distance from the limit tells nothing.
std::string PlainAdvice(const CheckLine& line) {
  if (line.name == "resolution" && line.value <= 0) return "the file does not tell its resolution";
  if (line.name == "faces") {
    return line.value < line.min.value_or(0) ? "no face was found" : "more faces than the document has persons";
  }
  if (line.name == "roll") return "the head lies on its side: turn the photograph";
  if (line.name == "tilt") return "the head leans: hold it straight";
  if (line.name == "brightness") return "the face is dark: use more light from the front";
  if (line.name == "symmetry") return "one half of the face is darker: use even light from the front";
  if (line.name == "background") return "the background is not plain, or hardly differs from the clothes";
  return {};
}

std::string AdviceOf(const CheckLine& line) {
  if (StateOf(line) != FindingState::kFailed) return {};
  const std::string plain = PlainAdvice(line);
  if (!plain.empty()) return plain;
  const bool isBelow = line.min && line.value < *line.min;
  const double missing = isBelow ? *line.min - line.value : line.value - line.max.value_or(line.value);
  std::string words = isBelow ? "too little" : "too much";
  for (const LineAdvice& advice : kAdvice) {
    if (line.name == advice.name) words = isBelow ? advice.below : advice.above;
  }
  return words + ": " + ValueText(missing, line.unit) + (isBelow ? " missing" : " too much");
}

std::string Rounded(double value, int places) {
  char text[400];  // the largest double has 309 digits before its point
  std::snprintf(text, sizeof text, "%.*f", places, value);
  std::string number = text;
  if (number.find('.') != std::string::npos) {
    number.erase(number.find_last_not_of('0') + 1);
    if (number.back() == '.') number.pop_back();
  }
  return number == "-0" ? "0" : number;
}

// Small numbers with enough digits to be told from their limit.
std::string Fine(double value) {
  return Rounded(value, std::abs(value) < 0.1 ? 3 : 2);
}

}  // namespace

Finding FindingOf(const CheckLine& line) {
  Finding finding;
  finding.state = StateOf(line);
  finding.id = line.name;
  finding.title = TitleOf(line);
  finding.value = ValueText(line.value, line.unit);
  finding.hasUnit = !line.unit.empty();
  finding.limit = LimitText(line.min, line.max);
  // Lines without a unit are scores, which no authority publishes.
  if (!finding.limit.empty()) finding.source = finding.hasUnit || line.name == "faces" ? "the document" : "our own";
  finding.reason = AdviceOf(line);
  return finding;
}

Finding FindingOf(const Measure& measure) {
  Finding finding;
  finding.state = StateOf(measure);
  finding.id = measure.id;
  finding.title = TitleOf(measure);
  if (measure.value) finding.value = ValueText(*measure.value, measure.unit);
  finding.hasUnit = measure.value && !measure.unit.empty();
  finding.limit = LimitText(measure.min, measure.max, measure.tolerance);
  if (measure.score) finding.score = Decimal(*measure.score);
  finding.source = measure.source;
  finding.reason = measure.reason;
  return finding;
}

std::vector<Finding> FindingsOf(const PhotoCheck& check) {
  std::vector<Finding> findings;
  for (const CheckLine& line : check.lines) findings.push_back(FindingOf(line));
  for (const Measure& measure : check.measures) findings.push_back(FindingOf(measure));
  std::stable_sort(findings.begin(), findings.end(),
                   [](const Finding& a, const Finding& b) { return a.state < b.state; });
  return findings;
}

size_t CountOf(const std::vector<Finding>& findings, FindingState state) {
  return static_cast<size_t>(std::count_if(findings.begin(), findings.end(),
                                           [state](const Finding& finding) { return finding.state == state; }));
}

std::string SummaryOf(const std::vector<Finding>& findings) {
  const auto count = [&findings](FindingState state) { return CountOf(findings, state); };
  std::string text;
  if (count(FindingState::kFailed) > 0) text += std::to_string(count(FindingState::kFailed)) + " failed, ";
  if (const size_t remarks = count(FindingState::kRemark); remarks > 0) {
    text += std::to_string(remarks) + (remarks == 1 ? " remark, " : " remarks, ");
  }
  return text + std::to_string(count(FindingState::kPassed)) + " passed";
}

const char* SignOf(FindingState state) {
  switch (state) {
    case FindingState::kFailed: return "✗";
    case FindingState::kRemark: return "!";
    case FindingState::kPassed: return "✓";
    case FindingState::kShown: return "•";
    default: return "–";
  }
}

const char* NameOf(FindingState state) {
  switch (state) {
    case FindingState::kFailed: return "failed";
    case FindingState::kRemark: return "remark";
    case FindingState::kPassed: return "passed";
    case FindingState::kShown: return "only shown";
    default: return "not assessed";
  }
}

FindingState StateOf(const CheckLine& line) {
  if (!line.min && !line.max) return FindingState::kShown;
  return line.Passed() ? FindingState::kPassed : FindingState::kFailed;
}

FindingState StateOf(const Measure& measure) {
  switch (measure.state) {
    case MeasureState::kPassed: return FindingState::kPassed;
    case MeasureState::kFailed: return FindingState::kFailed;
    case MeasureState::kRemark: return FindingState::kRemark;
    default: return FindingState::kNotAssessed;
  }
}

std::string ValueText(double value, const std::string& unit) {
  const bool isWhole = unit == "px" || unit == "dpi" || unit == "kB";
  const bool isFine = unit.empty() || unit == "cm";
  const std::string number = isFine ? Fine(value) : Rounded(value, isWhole ? 0 : 1);
  return unit.empty() ? number : unit == "degrees" ? number + "°" : number + " " + unit;
}

std::string LimitText(const std::optional<double>& min, const std::optional<double>& max, double tolerance) {
  if (!min && !max) return {};
  const auto number = [](double value) { return std::abs(value) < 10 ? Fine(value) : Rounded(value, 1); };
  const std::string missed = tolerance > 0 ? " ± " + number(tolerance) : "";
  if (!max) return "≥ " + number(*min) + missed;
  if (!min) return "≤ " + number(*max) + missed;
  if (*min == *max) return number(*min) + missed;
  return number(*min) + (*min < 0 || *max < 0 ? " to " : "–") + number(*max) + missed;
}

}  // namespace qx::photo
