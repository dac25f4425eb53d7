// What is inside of every pool, whatever its workers and results are.
#ifndef QX_JOBS_JOB_QUEUE_H
#define QX_JOBS_JOB_QUEUE_H

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace qx::jobs {

// Thrown to whoever waits for a job that never began.
class Cancelled : public std::exception {
 public:
  const char* what() const noexcept override { return "the work was cancelled before it began"; }
};

// With this a running job asks whether its result is still wanted. A job that sees that it is not returns or throws as
// it likes. Copies tell the same, for any thread.
class CancelToken {
 public:
  bool Cancelled() const { return *flag_; }

 private:
  friend class QueueEntry;
  explicit CancelToken(std::shared_ptr<const std::atomic<bool>> flag) : flag_(std::move(flag)) {}
  std::shared_ptr<const std::atomic<bool>> flag_;
};

class QueueEntry {
 public:
  virtual ~QueueEntry();
  // One of the two is called, once.
  virtual void Run(void* worker) noexcept = 0;
  virtual void Drop() noexcept = 0;

  CancelToken Token() const { return CancelToken(cancelled_); }
  void SetCancelled() { *cancelled_ = true; }

 private:
  const std::shared_ptr<std::atomic<bool>> cancelled_ = std::make_shared<std::atomic<bool>>(false);
};

// First in, first out. For any thread.
class JobQueue {
 public:
  explicit JobQueue(size_t length);

  // False when the queue has stopped or, without `wait`, is full.
  bool Push(const std::shared_ptr<QueueEntry>& entry, bool wait);
  // Waits for the next entry, which then counts as running until it is handed to Done; null once stopped.
  std::shared_ptr<QueueEntry> Next();
  void Done(const std::shared_ptr<QueueEntry>& entry);
  void Cancel(const std::shared_ptr<QueueEntry>& entry);
  void Stop();
  size_t Waiting() const;

 private:
  const size_t length_;
  mutable std::mutex mutex_;
  std::condition_variable room_, work_;
  std::deque<std::shared_ptr<QueueEntry>> waiting_;
  std::vector<std::shared_ptr<QueueEntry>> running_;
  bool stopped_ = false;
};

// Runs the queue's entries until it stops.
class WorkerThreads {
 public:
  // See WorkerPool.
  WorkerThreads(std::shared_ptr<JobQueue> queue, size_t count,
                const std::function<std::shared_ptr<void>()>& makeWorker);
  ~WorkerThreads();
  WorkerThreads(const WorkerThreads&) = delete;
  WorkerThreads& operator=(const WorkerThreads&) = delete;

  size_t Count() const { return threads_.size(); }

 private:
  void End();

  const std::shared_ptr<JobQueue> queue_;
  std::vector<std::thread> threads_;
};

}  // namespace qx::jobs

#endif  // QX_JOBS_JOB_QUEUE_H
