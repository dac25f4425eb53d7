#include "cli/batch/joined_report.h"

#include <algorithm>
#include <set>

#include "cli/batch/batch.h"
#include "cli/batch/reasons.h"
#include "photo/base/text.h"

namespace qx::cli {

void JoinedReport::Add(ReportLine line) {
  const auto [place, isNew] = lines_.try_emplace({std::move(line.input), std::move(line.output)});
  if (!isNew) ++repeats_;
  if (isNew || line.done || !place->second.done) place->second = std::move(line);
}

std::string JoinedReport::Text() const {
  std::string text;
  for (const auto& [key, line] : lines_) text += line.text + "\n";
  return text;
}

size_t JoinedReport::Failed() const {
  const auto failed = [](const auto& entry) { return !entry.second.done; };
  return static_cast<size_t>(std::count_if(lines_.begin(), lines_.end(), failed));
}

std::string JoinedReport::Summary() const {
  BatchSummary summary;
  ReasonCounts failures, remarks;
  std::set<std::string> options;
  for (const auto& [key, line] : lines_) {
    ++(line.done ? summary.done : summary.failed);
    (line.done ? remarks : failures).Add(line.reasons);
    options.insert(line.options);
  }
  std::string text = SummaryText(summary);
  if (repeats_ > 0) text += "; " + photo::Count(repeats_, "line") + " about the same ones left out";
  if (options.size() > 1) text += "; not all with the same options";
  return text + "\n" + ReasonLines(failures, remarks);
}

JoinedReport JoinReports(const std::vector<std::filesystem::path>& files) {
  JoinedReport joined;
  for (const std::filesystem::path& file : files) {
    ReadReport(file, [&joined](ReportLine line) { joined.Add(std::move(line)); });
  }
  return joined;
}

JoinedReport CountReport(const std::filesystem::path& file) {
  JoinedReport counted;
  ReadReport(file, [&counted](ReportLine line) {
    std::string().swap(line.text);  // an assignment would keep the memory
    counted.Add(std::move(line));
  });
  return counted;
}

}  // namespace qx::cli
