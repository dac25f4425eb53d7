// Where a worker gets its jobs, whatever carries them: a folder of files, or a message server.
//
// What every source promises: a job is in one worker's hands at a time, as far as that worker lives and is heard of; an
// answer is kept, beyond a loss of power, before its job is forgotten; a job whose worker is gone is taken up again by
// another. So every job is answered or buried at least once, and seldom twice: whoever reads answers drops repeats by
// id, and since results are exact a job that is done twice gives the same bytes.
//
// What a source needs to stay in touch, such as signs of life, it sends from a thread of its own, however long the work
// on a job takes. Calls are for any thread.
#ifndef QX_QUEUE_JOB_SOURCE_H
#define QX_QUEUE_JOB_SOURCE_H

#include <chrono>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>

#include "queue/message.h"

namespace qx::queue {

// Tries after which a job is buried.
inline constexpr int kMostTries = 3;

// The source cannot be reached, read or written; one line, with its name in it. Jobs in hand are others' from now on,
// if the source says so.
class SourceFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A job in hand: to be ended by one of Finish, GiveBack, Return and Bury.
struct Claim {
  Job job;
  int tries = 0;    // with this one: 1 for the first
  std::string tag;  // the source's own name for it
};

struct SourceCounts {
  size_t waiting = 0, claimed = 0;
  bool knowsOthers = true;  // whether `claimed` has what other workers have in hand; else it has what this one has
};

class JobSource {
 public:
  virtual ~JobSource();
  JobSource(const JobSource&) = delete;
  JobSource& operator=(const JobSource&) = delete;

  // The next job, or none when none came in that time. What is no job, and what has had its tries, is buried on the way
  // and not handed out. All calls throw SourceFailure.
  virtual std::optional<Claim> Take(std::chrono::milliseconds wait) = 0;

  // The work is done, or the photograph is to blame. Returns once the answer is kept.
  virtual void Finish(const Claim& claim, const Answer& answer) = 0;
  // This try came to nothing for a reason that another might not meet: a crash, a time-out, a full disk. Buried with
  // that reason when it was the last one.
  virtual void GiveBack(const Claim& claim, const std::string& reason) = 0;
  // Not tried at all: the worker ends. Does not count as a try where the source can help it.
  virtual void Return(const Claim& claim) = 0;
  // Nobody shall try it again.
  virtual void Bury(const Claim& claim, const std::string& reason) = 0;

  // A source is drained when nothing waits or is claimed, as far as it knows.
  virtual SourceCounts Count() = 0;

 protected:
  JobSource() = default;
};

}  // namespace qx::queue

#endif  // QX_QUEUE_JOB_SOURCE_H
