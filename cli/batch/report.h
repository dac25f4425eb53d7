// What became of each photograph of a batch, as a file of JSON lines.
#ifndef QX_CLI_BATCH_REPORT_H
#define QX_CLI_BATCH_REPORT_H

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace qx::cli {

struct BatchItem {
  std::filesystem::path input;
  std::filesystem::path output;
};

struct BatchOutcome {
  bool done = false;
  std::string message;                                   // why it failed, or what else is worth saying
  std::vector<std::string> reasons;                      // the same as stable names, as far as there are any
  std::vector<std::pair<std::string, double>> measures;  // of the finished photograph, by name
  double seconds = 0;
};

// What one line of a report says.
struct ReportLine {
  std::string text;           // of the whole line, without its end
  std::string input, output;  // names as in the file
  bool done = false;
  std::vector<std::string> reasons;
  std::string options;
};

// Hands over the lines of a report one by one, in the file's order, for there may be millions; an unfinished last one,
// which was being written when the machine went down, is left out. Throws SetupFailure when the file cannot be read or
// is no report.
void ReadReport(const std::filesystem::path& file, const std::function<void(ReportLine)>& take);

// The line about one photograph, with its end.
std::string ReportLineText(const BatchItem& item, const BatchOutcome& outcome, const std::string& options);

// Each line is one object: "input", "output", "status" ("done" or "failed"), "message", "reasons" (an array of
// names: codes of failures or identifiers of measures that failed), "measures" (an object of numbers), "seconds" and
// "options", the text that says with which options the run was made. A line is written at once and whole, so that an
// interrupted run leaves a readable file.
class BatchReport {
 public:
  // Starts the file anew, or with `resume` keeps what it says so far. Throws SetupFailure when it cannot be written, or
  // read as a report to resume.
  BatchReport(std::filesystem::path file, std::string options, bool resume);
  ~BatchReport();
  BatchReport(const BatchReport&) = delete;
  BatchReport& operator=(const BatchReport&) = delete;

  // Whether the file lists the item as done with these options and its output is there, not older than the photograph.
  bool IsDone(const BatchItem& item) const;
  // What the file says about an item that is done.
  std::vector<std::string> ReasonsOf(const BatchItem& item) const;
  // Removes earlier lines about these items, which are about to be done again. Throws SetupFailure.
  void Forget(const std::vector<BatchItem>& items);
  // Throws SetupFailure when the file cannot be written any more.
  void Append(const BatchItem& item, const BatchOutcome& outcome);

 private:
  using Key = std::pair<std::string, std::string>;  // input and output as in the file

  void Read();
  void Close();
  void Open(bool truncate);

  std::filesystem::path file_;
  std::string options_;
  std::map<Key, ReportLine> lines_;  // of earlier runs; the last one counts; done: with the same options
  int descriptor_ = -1;
};

}  // namespace qx::cli

#endif  // QX_CLI_BATCH_REPORT_H
