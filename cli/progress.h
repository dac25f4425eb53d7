// Where a run over several photographs stands.
#ifndef QX_CLI_PROGRESS_H
#define QX_CLI_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <string>

namespace qx::cli {

// With a terminal as standard error and more than one item: a bar there with the time left, redrawn in place. Otherwise
// silent. Messages go out through this class, so that they and the bar do not overwrite each other; from any thread.
class Progress {
 public:
  // `keepsBack`: whether outcomes give way to the bar where both would go to a terminal; else there is no bar then.
  explicit Progress(size_t total, bool keepsBack = true);
  ~Progress();  // wipes the bar
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // There are more or fewer than was thought.
  void SetTotal(size_t total);
  // Shows that work on the item (counted from 0) begins. The name must be printable.
  void Begin(size_t item, const std::string& name);
  // An outcome, to standard output; kept back when it would only scroll the terminal that shows the bar.
  void Outcome(const std::string& line);
  // A failure, to standard error, with the program's name in front.
  void Error(const std::string& line);
  // A closing line, to standard output, only where the outcomes were kept back.
  void Summary(const std::string& line);
  // Whole lines at the very end, to standard output.
  void Close(const std::string& lines);

 private:
  void Wipe();

  std::mutex mutex_;  // of all below
  size_t total_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  bool bar_;
  bool outcomesKeptBack_;
  std::string shown_;
};

}  // namespace qx::cli

#endif  // QX_CLI_PROGRESS_H
