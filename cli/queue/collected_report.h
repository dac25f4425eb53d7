// The report that answers of a queue are gathered into.
#ifndef QX_CLI_QUEUE_COLLECTED_REPORT_H
#define QX_CLI_QUEUE_COLLECTED_REPORT_H

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <utility>

#include "cli/batch/report.h"

namespace qx::cli {

// Goes on with a report that is there. For one program at a time, which a lock sees to.
class CollectedReport {
 public:
  // Cuts off an unfinished last line. Throws SetupFailure: the file cannot be read and written, is no report, or is
  // another one's at the moment.
  explicit CollectedReport(std::filesystem::path file);
  ~CollectedReport();
  CollectedReport(const CollectedReport&) = delete;
  CollectedReport& operator=(const CollectedReport&) = delete;

  // Returns once the line is on the disk; false without one for what the report already says last of this photograph
  // and output, but for the seconds: the same job done twice, or an answer that came twice. Throws SetupFailure.
  bool Add(const BatchItem& item, const BatchOutcome& outcome, const std::string& options);

  // Of how many photographs and outputs it tells.
  size_t Photographs() const { return last_.size(); }

 private:
  bool Note(const std::string& line);
  void ReadLines();

  const std::filesystem::path file_;
  int descriptor_ = -1;
  std::map<std::pair<std::string, std::string>, size_t> last_;  // by input and output: a number for what was said last
};

}  // namespace qx::cli

#endif  // QX_CLI_QUEUE_COLLECTED_REPORT_H
