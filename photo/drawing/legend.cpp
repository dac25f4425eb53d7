#include "photo/drawing/legend.h"

#include "photo/drawing/label_font.h"
#include "photo/drawing/marks.h"

namespace qx::photo {
namespace {

int Indent(int em) {
  return em * 3 / 2;
}

// "Height of the head: 30.1 mm (32–36)".
std::string Sentence(const Finding& finding) {
  std::string text = finding.title;
  if (!finding.value.empty()) text += ": " + finding.value;
  if (!finding.limit.empty()) text += " (" + finding.limit + ")";
  return text;
}

}  // namespace

Legend::Legend(const std::vector<Finding>& findings, int em, int width) : em_(em), width_(width) {
  const bool hasFailed = CountOf(findings, FindingState::kFailed) > 0;
  const FindingState verdict = hasFailed ? FindingState::kFailed : FindingState::kPassed;
  Add(SignOf(verdict), SummaryOf(findings), em * 5 / 4, InkOf(verdict));
  for (const Finding& finding : findings) {
    if (finding.state <= FindingState::kRemark) AddInFull(finding);
  }
  AddBriefly(findings, FindingState::kPassed, "Passed: ");
  AddBriefly(findings, FindingState::kShown, "Only shown: ");
  if (const size_t count = CountOf(findings, FindingState::kNotAssessed); count > 0) {
    height_ += em / 2;
    Add(SignOf(FindingState::kNotAssessed), "Not assessed: " + std::to_string(count), em * 7 / 8, kFaintText);
  }
}

void Legend::AddWrapped(std::string_view text, int size, Ink ink) {
  for (std::string& line : WrapText(text, size, width_ - Indent(em_))) {
    pieces_.push_back({Indent(em_), height_, size, std::move(line), ink});
    height_ += LineHeight(size);
  }
}

void Legend::Add(const char* sign, std::string_view text, int size, Ink ink) {
  pieces_.push_back({0, height_, size, sign, ink});
  AddWrapped(text, size, ink);
}

void Legend::AddInFull(const Finding& finding) {
  height_ += em_ / 2;
  Add(SignOf(finding.state), Sentence(finding), em_, InkOf(finding.state));
  AddWrapped(finding.reason, em_ * 7 / 8, kText);
}

void Legend::AddBriefly(const std::vector<Finding>& findings, FindingState state, const char* words) {
  std::string text = words;
  for (const Finding& finding : findings) {
    if (finding.state != state) continue;
    text += finding.title;
    if (finding.hasUnit) text += " " + finding.value;  // bare numbers say nothing by themselves
    text += "; ";
  }
  if (CountOf(findings, state) == 0) return;
  text.resize(text.size() - 2);
  height_ += em_ / 2;
  Add(SignOf(state), text, em_ * 7 / 8, InkOf(state));
}

void Legend::Draw(Canvas* canvas, int left, int top) const {
  for (const Piece& piece : pieces_) {
    DrawText(canvas, left + piece.left, top + piece.top, piece.text, piece.size, piece.ink);
  }
}

std::vector<std::string> Legend::Texts() const {
  std::vector<std::string> texts;
  for (const Piece& piece : pieces_) texts.push_back(piece.text);
  return texts;
}

}  // namespace qx::photo
