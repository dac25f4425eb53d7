// Reports of several runs as one.
#ifndef QX_CLI_BATCH_JOINED_REPORT_H
#define QX_CLI_BATCH_JOINED_REPORT_H

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <utility>

#include "cli/batch/report.h"

namespace qx::cli {

// One line for each photograph and output. Of several, one that says "done" counts before one that says "failed", since
// what was made is there and a later failure does not take it away; else the one that was added last. Lines have no
// time, and the order in which somebody names files is none.
class JoinedReport {
 public:
  void Add(ReportLine line);

  // Lines with their ends, sorted by photograph and output.
  std::string Text() const;
  // As a batch ends: how many were made and failed, the reasons and remarks counted; and how many lines were repeats,
  // or made with several options, as far as there are any.
  std::string Summary() const;
  size_t Failed() const;

 private:
  std::map<std::pair<std::string, std::string>, ReportLine> lines_;
  size_t repeats_ = 0;
};

// Throws SetupFailure when one cannot be read or is no report.
JoinedReport JoinReports(const std::vector<std::filesystem::path>& files);

// For the counts alone: without the lines' own text, which is most of what millions of them take.
JoinedReport CountReport(const std::filesystem::path& file);

}  // namespace qx::cli

#endif  // QX_CLI_BATCH_JOINED_REPORT_H
