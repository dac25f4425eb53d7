#include "jobs/job_queue.h"

#include <algorithm>
#include <future>
#include <system_error>
#include <utility>

namespace qx::jobs {

QueueEntry::~QueueEntry() = default;

JobQueue::JobQueue(size_t length) : length_(std::max<size_t>(length, 1)) {}

bool JobQueue::Push(const std::shared_ptr<QueueEntry>& entry, bool wait) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (wait) room_.wait(lock, [this] { return stopped_ || waiting_.size() < length_; });
  if (stopped_ || waiting_.size() >= length_) return false;
  waiting_.push_back(entry);
  work_.notify_one();
  return true;
}

std::shared_ptr<QueueEntry> JobQueue::Next() {
  std::unique_lock<std::mutex> lock(mutex_);
  work_.wait(lock, [this] { return stopped_ || !waiting_.empty(); });
  if (stopped_) return nullptr;
  std::shared_ptr<QueueEntry> entry = std::move(waiting_.front());
  waiting_.pop_front();
  running_.push_back(entry);
  room_.notify_one();
  return entry;
}

void JobQueue::Done(const std::shared_ptr<QueueEntry>& entry) {
  const std::lock_guard<std::mutex> lock(mutex_);
  running_.erase(std::find(running_.begin(), running_.end(), entry));
}

void JobQueue::Cancel(const std::shared_ptr<QueueEntry>& entry) {
  entry->SetCancelled();
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto place = std::find(waiting_.begin(), waiting_.end(), entry);
    if (place == waiting_.end()) return;
    waiting_.erase(place);
    room_.notify_one();
  }
  entry->Drop();
}

void JobQueue::Stop() {
  std::deque<std::shared_ptr<QueueEntry>> dropped;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopped_ = true;
    dropped.swap(waiting_);
    for (const auto& entry : running_) entry->SetCancelled();
    room_.notify_all();
    work_.notify_all();
  }
  for (const auto& entry : dropped) {
    entry->SetCancelled();
    entry->Drop();
  }
}

size_t JobQueue::Waiting() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return waiting_.size();
}

namespace {

// The life of one thread.
void Work(const std::shared_ptr<JobQueue>& queue, const std::function<std::shared_ptr<void>()>& makeWorker,
          std::promise<void> made) {
  std::shared_ptr<void> worker;
  try {
    worker = makeWorker();
  } catch (...) {
    made.set_exception(std::current_exception());
    return;
  }
  made.set_value();  // from here on `makeWorker` may be gone
  while (const std::shared_ptr<QueueEntry> entry = queue->Next()) {
    entry->Run(worker.get());
    queue->Done(entry);
  }
}

}  // namespace

WorkerThreads::WorkerThreads(std::shared_ptr<JobQueue> queue, size_t count,
                             const std::function<std::shared_ptr<void>()>& makeWorker)
    : queue_(std::move(queue)) {
  std::vector<std::future<void>> made;
  try {
    for (size_t i = 0; i < std::max<size_t>(count, 1); ++i) {
      std::promise<void> promise;
      std::future<void> future = promise.get_future();
      made.reserve(i + 1);  // no exception between a thread's start and the note of it
      threads_.reserve(i + 1);
      try {
        threads_.emplace_back([this, &makeWorker, promise = std::move(promise)]() mutable {
          Work(queue_, makeWorker, std::move(promise));
        });
      } catch (const std::system_error&) {
        if (threads_.empty()) throw;
        break;  // fewer threads do the same work
      }
      made.push_back(std::move(future));
    }
    for (const std::future<void>& future : made) future.wait();
    for (std::future<void>& future : made) future.get();
  } catch (...) {
    // Threads still read `makeWorker`, and this object's destructor will not run.
    End();
    throw;
  }
}

WorkerThreads::~WorkerThreads() {
  End();
}

void WorkerThreads::End() {
  queue_->Stop();
  for (std::thread& thread : threads_) thread.join();
}

}  // namespace qx::jobs
