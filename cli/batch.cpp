#include "cli/batch.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

#include "cli/interrupt.h"
#include "cli/progress.h"
#include "cli/wording.h"
#include "photo/base/text.h"

namespace qx::cli {
namespace {

using Clock = std::chrono::steady_clock;

// "12 photographs made, 1 failed", as far as there is something to say.
std::string SummaryText(const BatchSummary& summary) {
  std::string text = photo::Count(summary.done, "photograph") + " made";
  if (summary.skipped > 0) text += ", " + std::to_string(summary.skipped) + " left as they were";
  if (summary.failed > 0) text += ", " + std::to_string(summary.failed) + " failed";
  if (summary.left > 0) text += ", " + std::to_string(summary.left) + " not tried";
  return text;
}

class Batch {
 public:
  Batch(const std::vector<BatchItem>& items, BatchReport* report)
      : items_(items), report_(report), progress_(items.size()) {}

  // The life of one thread.
  void Work(const std::function<BatchWorker()>& makeWorker) noexcept {
    try {
      const BatchWorker worker = makeWorker();
      for (size_t i; !stop_ && !watch_.Interrupted() && (i = next_++) < items_.size();) WorkOn(items_[i], worker);
    } catch (...) {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (!error_) error_ = std::current_exception();
      stop_ = true;
    }
  }

  // After all threads.
  BatchSummary Finish(size_t skipped) {
    if (error_) std::rethrow_exception(error_);
    summary_.skipped = skipped;
    summary_.left = items_.size() - summary_.done - summary_.failed;
    progress_.Summary(SummaryText(summary_));
    return summary_;
  }

 private:
  void WorkOn(const BatchItem& item, const BatchWorker& worker) {
    const std::string name = photo::Printable(item.input.native());
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
    }
    outcome.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    const std::lock_guard<std::mutex> lock(mutex_);
    report_->Append(item, outcome);
    ++(outcome.done ? summary_.done : summary_.failed);
    if (!outcome.done) {
      progress_.Error(name + ": " + outcome.message);
    } else {
      const std::string note = outcome.message.empty() ? "" : " (" + outcome.message + ")";
      progress_.Outcome(name + ": " + photo::Printable(item.output.native()) + note);
    }
  }

  const std::vector<BatchItem>& items_;
  BatchReport* const report_;
  const InterruptWatch watch_;
  std::atomic<size_t> next_{0};
  std::atomic<bool> stop_{false};
  std::mutex mutex_;  // of everything below, and of the report
  Progress progress_;
  BatchSummary summary_;
  std::exception_ptr error_;
};

}  // namespace

BatchSummary RunBatch(const std::vector<BatchItem>& items, const std::function<BatchWorker()>& makeWorker,
                      const BatchSettings& settings) {
  BatchReport report(settings.report, settings.options, settings.resume);
  std::vector<BatchItem> todo;
  std::copy_if(items.begin(), items.end(), std::back_inserter(todo),
               [&](const BatchItem& item) { return !report.IsDone(item); });
  report.Forget(todo);

  Batch batch(todo, &report);
  std::vector<std::thread> threads;
  try {
    for (size_t i = 1; i < std::min(settings.jobs, todo.size()); ++i) {
      threads.emplace_back([&] { batch.Work(makeWorker); });
    }
  } catch (const std::system_error&) {
    // The machine allows no more threads: fewer do the same work.
  }
  if (!todo.empty()) batch.Work(makeWorker);
  for (std::thread& thread : threads) thread.join();
  return batch.Finish(items.size() - todo.size());
}

}  // namespace qx::cli
