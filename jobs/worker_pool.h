// Threads that each have a worker of their own, and a bounded queue in front of them.
//
//   WorkerPool<Engine> pool(4, 16, [] { return std::make_unique<Engine>(); });
//   Job<Picture> job = pool.Submit([](Engine& engine, const CancelToken&) { return engine.Make(); });
//   Picture picture = job.Get();
#ifndef QX_JOBS_WORKER_POOL_H
#define QX_JOBS_WORKER_POOL_H

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "jobs/job_queue.h"

namespace qx::jobs {

// A job that was handed to a pool, and what comes of it. May outlive the pool. One thread at a time.
template <typename Result>
class Job {
 public:
  // Waits for the end and gives the result, or throws what the job threw; Cancelled when it never began. Once.
  Result Get() { return result_.get(); }
  // Waits for the end at most so long; true when Get would not wait.
  bool WaitFor(std::chrono::nanoseconds time) const { return result_.wait_for(time) == std::future_status::ready; }
  bool Ready() const { return WaitFor({}); }
  // A job that has not begun never will, and leaves its place in the queue at once; one that runs is told by its token.
  void Cancel() {
    if (const auto queue = queue_.lock()) queue->Cancel(entry_);
  }

 private:
  template <typename Worker>
  friend class WorkerPool;
  Job(std::shared_ptr<QueueEntry> entry, std::weak_ptr<JobQueue> queue, std::future<Result> result)
      : entry_(std::move(entry)), queue_(std::move(queue)), result_(std::move(result)) {}

  std::shared_ptr<QueueEntry> entry_;
  std::weak_ptr<JobQueue> queue_;
  std::future<Result> result_;
};

// For any thread. A job must not wait for another job of its pool, nor submit one where that may block.
template <typename Worker>
class WorkerPool {
 public:
  // Starts `threads` threads, or fewer when the system refuses some, and returns when each has its worker.
  // `makeWorker` is called once in each, at the same time; the worker is used and destroyed by that thread alone. The
  // queue holds up to `queueLength` jobs that wait; both numbers count as at least 1. Throws what `makeWorker` throws,
  // and std::system_error when the system grants no thread at all.
  WorkerPool(size_t threads, size_t queueLength, const std::function<std::unique_ptr<Worker>()>& makeWorker)
      : queue_(std::make_shared<JobQueue>(queueLength)),
        threads_(queue_, threads, [&makeWorker] { return std::shared_ptr<void>(makeWorker()); }) {}
  // Stops, and waits for the jobs that run.
  ~WorkerPool() = default;
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  template <typename Call>
  using ResultOf = std::invoke_result_t<Call&, Worker&, const CancelToken&>;

  // Has a worker run call(worker, token), in the order of the calls; waits while the queue is full. The call need only
  // be movable, and is destroyed as soon as it has run. Throws Cancelled once the pool has stopped.
  template <typename Call>
  Job<ResultOf<Call>> Submit(Call call) {
    auto job = Hand(std::move(call), true);
    if (!job) throw Cancelled();
    return std::move(*job);
  }
  // The same without waiting: nothing when the queue is full or the pool has stopped.
  template <typename Call>
  std::optional<Job<ResultOf<Call>>> TrySubmit(Call call) {
    return Hand(std::move(call), false);
  }

  // Cancels all jobs and takes no more. Does not wait.
  void Stop() { queue_->Stop(); }

  size_t Threads() const { return threads_.Count(); }
  // Jobs that have not begun.
  size_t Waiting() const { return queue_->Waiting(); }

 private:
  template <typename Call>
  class Entry final : public QueueEntry {
   public:
    explicit Entry(Call call) : call_(std::move(call)) {}
    std::future<ResultOf<Call>> Result() { return result_.get_future(); }

    void Run(void* worker) noexcept override {
      // What the call holds is let go before anyone is told of the end.
      try {
        if constexpr (std::is_void_v<ResultOf<Call>>) {
          (*call_)(*static_cast<Worker*>(worker), Token());
          call_.reset();
          result_.set_value();
        } else {
          auto result = (*call_)(*static_cast<Worker*>(worker), Token());
          call_.reset();
          result_.set_value(std::move(result));
        }
      } catch (...) {
        call_.reset();
        result_.set_exception(std::current_exception());
      }
    }
    void Drop() noexcept override {
      call_.reset();
      result_.set_exception(std::make_exception_ptr(Cancelled()));
    }

   private:
    std::optional<Call> call_;
    std::promise<ResultOf<Call>> result_;
  };

  template <typename Call>
  std::optional<Job<ResultOf<Call>>> Hand(Call call, bool wait) {
    const auto entry = std::make_shared<Entry<Call>>(std::move(call));
    auto result = entry->Result();
    if (!queue_->Push(entry, wait)) return std::nullopt;
    return Job<ResultOf<Call>>(entry, queue_, std::move(result));
  }

  const std::shared_ptr<JobQueue> queue_;
  WorkerThreads threads_;
};

}  // namespace qx::jobs

#endif  // QX_JOBS_WORKER_POOL_H
