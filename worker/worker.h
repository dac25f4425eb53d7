// Does the jobs of a queue: fetches each photograph, has it made by a confined process, puts the result in its place
// and answers.
//
//   queue::FolderSource source({"/srv/queue"});
//   worker::Worker worker(settings, &source);
//   worker.Run();
#ifndef QX_WORKER_WORKER_H
#define QX_WORKER_WORKER_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "photo/base/failure.h"
#include "queue/job_source.h"
#include "server/children/children.h"
#include "worker/counts.h"
#include "worker/fetch.h"
#include "worker/files.h"
#include "worker/places.h"
#include "worker/waits.h"

namespace qx::worker {

// An answer's words on a failure.
struct Words {
  std::string message;
  std::vector<std::string> reasons;
};

struct WorkerSettings {
  size_t jobs = 1;    // photographs made at once
  size_t inHand = 2;  // jobs taken and not yet answered: while one is made the next is fetched
  // Of a photograph: to fetch it, and again to make it.
  std::chrono::milliseconds time{60'000};
  uint64_t fileBytes = 32'000'000;
  uint64_t pixels = 50'000'000;
  Places readFrom, writeTo;
  bool drain = false;  // ends when the queue has nothing left, in anybody's hands

  // What whoever runs this says about failures, and of the options that a job gives; never null, for any thread.
  std::function<Words(const photo::Failure&)> words;
  std::function<std::string(const queue::Job&)> optionsText;
  // Lines on what becomes of jobs and of the queue; from any thread, which must not be held up. May be empty.
  std::function<void(const std::string& line)> log;
};

// A photograph that cannot be made is an answer; a try that came to nothing (the process died, was killed or took too
// long, a disk was full) is counted by the source and followed by a wait, longer after each, so that what ails the
// worker does not bury the whole queue.
class Worker {
 public:
  // The source must outlive it.
  Worker(WorkerSettings settings, queue::JobSource* source);
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  // Works until it is stopped or, if so wished, the queue is drained. What is being made then is finished and answered,
  // what waits to be is returned. False when the source took no answer for something by the end; its job comes again.
  // Once.
  bool Run();
  // For any thread.
  void Stop();

  // Whether the source answered the last time.
  bool Reaches() const { return reaches_; }
  // In the text format of Prometheus (version 0.0.4).
  std::string Metrics() const;

 private:
  struct Made {
    server::ChildReply reply;
    double seconds = 0;
  };

  void Live();
  std::optional<queue::Claim> Next();
  bool IsDrained();
  void WorkOn(const queue::Claim& claim, Fetcher* fetcher);
  queue::Answer Make(const queue::Job& job, Fetcher* fetcher);
  photo::Bytes Read(const queue::Job& job, const Destination& destination, Fetcher* fetcher) const;
  server::ChildReply Ask(const queue::Job& job, photo::Bytes photograph, const std::string& format);
  void Answered(const queue::Claim& claim, const queue::Answer& answer, std::chrono::steady_clock::time_point begin);
  void CameToNothing(const queue::Claim& claim, const std::string& reason);
  bool Tell(const std::string& what, const std::function<void()>& call);
  bool Rest(std::chrono::milliseconds time);
  void Say(const std::string& line) const;

  const WorkerSettings settings_;
  queue::JobSource* const source_;
  Counts counts_;
  std::atomic<bool> stopped_{false}, reaches_{true}, lost_{false};
  std::mutex taking_;  // one thread asks the source for jobs at a time; of the next
  Waits sourceWaits_;
  std::mutex resting_;  // of the next two
  std::condition_variable stop_;
  Waits troubleWaits_;
  server::Children children_;
};

}  // namespace qx::worker

#endif  // QX_WORKER_WORKER_H
