#include "cli/check_page.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "codec/codec.h"
#include "photo/base/resize.h"
#include "photo/base/text.h"
#include "photo/drawing/draw_check.h"
#include "photo/drawing/findings.h"

namespace qx::cli {
namespace {

using photo::Finding;
using photo::FindingState;

// Any bytes as HTML, for elements and quoted attributes.
std::string Escaped(std::string_view text) {
  std::string html;
  for (const char c : photo::Printable(text)) {
    switch (c) {
      case '&': html += "&amp;"; break;
      case '<': html += "&lt;"; break;
      case '>': html += "&gt;"; break;
      case '"': html += "&quot;"; break;
      case '\'': html += "&#39;"; break;
      default: html += c;
    }
  }
  return html;
}

std::string Base64(const std::vector<uint8_t>& bytes) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const size_t count = std::min<size_t>(3, bytes.size() - i);
    uint32_t group = 0;
    for (size_t k = 0; k < 3; ++k) group = group << 8 | (k < count ? bytes[i + k] : 0U);
    for (size_t k = 0; k < 4; ++k) text += k <= count ? kDigits[group >> (18 - 6 * k) & 63] : '=';
  }
  return text;
}

photo::Image Preview(const photo::Image& photograph) {
  constexpr int32_t kMost = 1200;
  const int32_t longSide = std::max(photograph.width, photograph.height);
  if (longSide <= kMost) return photograph;
  const auto scaled = [longSide](int32_t side) {
    return static_cast<int32_t>(std::max<int64_t>(1, int64_t{side} * kMost / longSide));
  };
  const photo::Rectangle whole{0, 0, static_cast<double>(photograph.width), static_cast<double>(photograph.height)};
  return photo::ResizeLanczos(photograph, whole, scaled(photograph.width), scaled(photograph.height));
}

std::string Figure(const photo::Image& image, const std::string& description) {
  return "<figure><img width=\"" + std::to_string(image.width) + "\" height=\"" + std::to_string(image.height) +
         "\" alt=\"" + description + "\" src=\"data:image/jpeg;base64," + Base64(codec::EncodeForScreen(image)) +
         "\"><figcaption>" + description + "</figcaption></figure>\n";
}

// The class of the style sheet.
const char* ClassOf(FindingState state) {
  switch (state) {
    case FindingState::kFailed: return "failed";
    case FindingState::kRemark: return "remark";
    case FindingState::kPassed: return "passed";
    case FindingState::kShown: return "shown";
    default: return "rest";
  }
}

std::string Sign(FindingState state) {
  return std::string("<span class=\"sign\" aria-hidden=\"true\">") + photo::SignOf(state) + "</span> ";
}

// What is to be done about findings of a state; nothing without one.
std::string ToDo(const std::vector<Finding>& findings, FindingState state, const char* heading) {
  if (CountOf(findings, state) == 0) return {};
  std::string html = std::string("<h3>") + heading + "</h3>\n<ul class=\"todo\">\n";
  for (const Finding& finding : findings) {
    if (finding.state != state) continue;
    html += std::string("<li class=\"") + ClassOf(state) + "\">" + Sign(state) + "<strong>" + Escaped(finding.title);
    if (!finding.value.empty()) html += ": " + Escaped(finding.value);
    html += "</strong>";
    if (!finding.limit.empty()) html += " (" + Escaped(finding.limit) + ")";
    html += "<span class=\"why\">" + Escaped(finding.reason) + "</span></li>\n";
  }
  return html + "</ul>\n";
}

std::string Row(const Finding& finding) {
  const auto cell = [](const char* label, const std::string& content, const char* kind = "") {
    return content.empty()
               ? std::string("<td></td>")
               : std::string("<td class=\"") + kind + "\" data-label=\"" + label + "\">" + content + "</td>";
  };
  const std::string source = finding.source.empty() ? "" : "<small>" + Escaped(finding.source) + "</small>";
  return "<tr><td><strong>" + Escaped(finding.title) + "</strong><small>" + Escaped(finding.id) + "</small></td>" +
         cell("Value", Escaped(finding.value), "number") +
         cell("Limit", finding.limit.empty() ? "" : Escaped(finding.limit) + source) +
         cell("Score", Escaped(finding.score), "number") + "<td class=\"state " + ClassOf(finding.state) + "\">" +
         Sign(finding.state) + NameOf(finding.state) + "</td>" + cell("Why", Escaped(finding.reason)) + "</tr>\n";
}

// Of those that were assessed, or of the others.
std::string Table(const std::vector<Finding>& findings, bool isAssessed) {
  std::string html =
      "<table><thead><tr><th>What</th><th>Value</th><th>Limit and its source</th><th>Score</th>"
      "<th>Result</th><th>Why</th></tr></thead><tbody>\n";
  for (const Finding& finding : findings) {
    if ((finding.state != FindingState::kNotAssessed) == isAssessed) html += Row(finding);
  }
  return html + "</tbody></table>\n";
}

// Folded on a screen. Browsers do not unfold on paper, where a copy stands instead.
std::string NotAssessed(const std::vector<Finding>& findings) {
  const size_t count = CountOf(findings, FindingState::kNotAssessed);
  if (count == 0) return {};
  const std::string heading = "Not assessed: " + std::to_string(count), table = Table(findings, false);
  return "<details><summary>" + heading + "</summary>\n" + table + "</details>\n<div class=\"paper\"><h3>" + heading +
         "</h3>\n" + table + "</div>\n";
}

}  // namespace

void CheckPage::Add(const std::string& name, const photo::Image& photograph, const photo::PhotoCheck& check) {
  const std::vector<Finding> findings = FindingsOf(check);
  Entry entry{"<bdi>" + Escaped(name) + "</bdi>", CountOf(findings, FindingState::kFailed) == 0 && check.Passed(),
              Escaped(SummaryOf(findings)), ""};
  entry.body = "<div class=\"pictures\">\n" + Figure(Preview(photograph), "The photograph") +
               Figure(DrawCheck(photograph, check, photo::DrawingParts::kPictureOnly), "What was measured in it") +
               "</div>\n" + ToDo(findings, FindingState::kFailed, "To do") +
               ToDo(findings, FindingState::kRemark, "To be looked at") + "<h3>All that was measured</h3>\n" +
               Table(findings, true) + NotAssessed(findings);
  entries_.push_back(std::move(entry));
}

void CheckPage::AddFailure(const std::string& name, const std::string& message) {
  entries_.push_back({"<bdi>" + Escaped(name) + "</bdi>", false, Escaped("not checked: " + message), ""});
}

std::string CheckPage::Overview() const {
  if (entries_.size() < 2) return {};
  const auto passed = static_cast<size_t>(
      std::count_if(entries_.begin(), entries_.end(), [](const Entry& entry) { return entry.hasPassed; }));
  std::string html =
      "<p>" + std::to_string(passed) + " passed, " + std::to_string(entries_.size() - passed) +
      " failed.</p>\n<table><thead><tr><th>Photograph</th><th>Result</th><th>Found</th></tr></thead><tbody>\n";
  for (size_t i = 0; i < entries_.size(); ++i) {
    const Entry& entry = entries_[i];
    const FindingState state = entry.hasPassed ? FindingState::kPassed : FindingState::kFailed;
    html += "<tr><td><a href=\"#photo-" + std::to_string(i + 1) + "\">" + entry.name + "</a></td><td class=\"state " +
            ClassOf(state) + "\">" + Sign(state) + NameOf(state) + "</td><td data-label=\"Found\">" + entry.summary +
            "</td></tr>\n";
  }
  return html + "</tbody></table>\n";
}

std::string CheckPage::Section(size_t number) const {
  const Entry& entry = entries_[number - 1];
  const FindingState state = entry.hasPassed ? FindingState::kPassed : FindingState::kFailed;
  return "<section id=\"photo-" + std::to_string(number) + "\"" + (entries_.size() == 1 ? " class=\"only\"" : "") +
         ">\n<h2>" + entry.name + "</h2>\n<p class=\"verdict " + ClassOf(state) + "\">" + Sign(state) +
         (entry.hasPassed ? "Passed: " : "Failed: ") + entry.summary + "</p>\n" + entry.body + "</section>\n";
}

std::string CheckPage::Html() const {
  const std::string title = "Check of " + photo::Count(entries_.size(), "photograph");
  std::string html =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" "
      "content=\"default-src 'none'; img-src data:; style-src 'unsafe-inline'\">\n<title>" +
      title + "</title>\n<style>" + kCheckPageStyle + "</style>\n</head>\n<body>\n<h1>" + title + "</h1>\n" +
      Overview();
  for (size_t number = 1; number <= entries_.size(); ++number) html += Section(number);
  return html + "</body>\n</html>\n";
}

}  // namespace qx::cli
