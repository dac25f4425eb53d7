#include "cli/batch/batch.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>

#include "cli/batch/reasons.h"
#include "cli/platform/file_name.h"
#include "cli/platform/interrupt.h"
#include "cli/progress.h"
#include "cli/wording.h"
#include "jobs/worker_pool.h"
#include "photo/base/text.h"

namespace qx::cli {
namespace {

using Clock = std::chrono::steady_clock;

class Batch {
 public:
  Batch(const std::vector<BatchItem>& items, BatchReport* report)
      : items_(items), report_(report), progress_(items.size()) {}

  void Run(size_t threads, const std::function<BatchWorker()>& makeWorker) {
    jobs::WorkerPool<BatchWorker> pool(threads, threads,
                                       [&makeWorker] { return std::make_unique<BatchWorker>(makeWorker()); });
    std::deque<jobs::Job<void>> begun;
    for (const BatchItem& item : items_) {
      if (!GoesOn()) break;
      begun.push_back(pool.Submit([this, &item](const BatchWorker& worker, const jobs::CancelToken&) {
        if (GoesOn()) WorkOn(item, worker);
      }));
      for (; !begun.empty() && begun.front().Ready(); begun.pop_front()) begun.front().Get();
    }
    for (jobs::Job<void>& job : begun) job.Get();
  }

  // An item that an earlier run did: what was said about it still holds.
  void Skip(const BatchItem& item) { remarks_.Add(report_->ReasonsOf(item)); }

  BatchSummary Finish(size_t skipped) {
    summary_.skipped = skipped;
    summary_.left = items_.size() - summary_.done - summary_.failed;
    progress_.Summary(SummaryText(summary_));
    progress_.Close(ReasonLines(failures_, remarks_));
    return summary_;
  }

 private:
  // What is queued is not begun after an interrupt, nor when the report cannot be written any more.
  bool GoesOn() const { return !unreported_ && !watch_.Interrupted(); }

  void WorkOn(const BatchItem& item, const BatchWorker& worker) {
    const std::string name = photo::Printable(NameOf(item.input));
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      progress_.Begin(summary_.done + summary_.failed, name);
    }
    BatchOutcome outcome;
    const auto start = Clock::now();
    try {
      worker(item, &outcome);
      outcome.done = true;
    } catch (const std::exception& exception) {
      outcome.message = Wording(exception);
      outcome.reasons = ReasonNames(exception);
    }
    outcome.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    const std::lock_guard<std::mutex> lock(mutex_);
    try {
      report_->Append(item, outcome);
    } catch (...) {
      unreported_ = true;
      throw;
    }
    ++(outcome.done ? summary_.done : summary_.failed);
    (outcome.done ? remarks_ : failures_).Add(outcome.reasons);
    if (!outcome.done) {
      progress_.Error(name + ": " + outcome.message);
    } else {
      const std::string note = outcome.message.empty() ? "" : " (" + outcome.message + ")";
      progress_.Outcome(name + ": " + photo::Printable(NameOf(item.output)) + note);
    }
  }

  const std::vector<BatchItem>& items_;
  BatchReport* const report_;
  const InterruptWatch watch_;
  std::atomic<bool> unreported_{false};
  std::mutex mutex_;  // of everything below, and of the report
  Progress progress_;
  BatchSummary summary_;
  ReasonCounts failures_, remarks_;
};

}  // namespace

std::string SummaryText(const BatchSummary& summary) {
  std::string text = photo::Count(summary.done, "photograph") + " made";
  if (summary.skipped > 0) text += ", " + std::to_string(summary.skipped) + " left as they were";
  if (summary.failed > 0) text += ", " + std::to_string(summary.failed) + " failed";
  if (summary.left > 0) text += ", " + std::to_string(summary.left) + " not tried";
  return text;
}

BatchSummary RunBatch(const std::vector<BatchItem>& items, const std::function<BatchWorker()>& makeWorker,
                      const BatchSettings& settings) {
  BatchReport report(settings.report, settings.options, settings.resume);
  std::vector<BatchItem> done, todo;
  std::partition_copy(items.begin(), items.end(), std::back_inserter(done), std::back_inserter(todo),
                      [&](const BatchItem& item) { return report.IsDone(item); });
  Batch batch(todo, &report);
  for (const BatchItem& item : done) batch.Skip(item);
  report.Forget(todo);
  if (!todo.empty()) batch.Run(std::min(settings.jobs, todo.size()), makeWorker);
  return batch.Finish(done.size());
}

}  // namespace qx::cli
