// Many photographs at once.
#ifndef QX_CLI_BATCH_BATCH_H
#define QX_CLI_BATCH_BATCH_H

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "cli/batch/report.h"

namespace qx::cli {

// Makes the item's output from its input. Called by one thread, for one photograph after the other; fills in the
// measures and, if there is something to say, the message and the reasons. Throws whatever goes wrong.
using BatchWorker = std::function<void(const BatchItem& item, BatchOutcome* outcome)>;

struct BatchSettings {
  size_t jobs = 1;               // threads, at least 1; fewer when the system refuses some
  std::filesystem::path report;  // the file of JSON lines
  bool resume = false;           // leave out what the report lists as done
  std::string options;           // text that differs when the outputs would
};

struct BatchSummary {
  size_t done = 0;
  size_t failed = 0;
  size_t skipped = 0;  // done by an earlier run
  size_t left = 0;     // not tried: the run was interrupted
};

// "12 photographs made, 1 failed", as far as there is something to say.
std::string SummaryText(const BatchSummary& summary);

// Works on all items, whatever becomes of each, says so on the way, and counts the reasons at the end, with those of
// items that an earlier run did. `makeWorker` is called once in each thread.
// After an interrupt (SIGINT) the photographs at work are finished and no others begun. Throws SetupFailure when the
// report cannot be written, and what `makeWorker` throws.
BatchSummary RunBatch(const std::vector<BatchItem>& items, const std::function<BatchWorker()>& makeWorker,
                      const BatchSettings& settings);

}  // namespace qx::cli

#endif  // QX_CLI_BATCH_BATCH_H
