// The other end of a queue: where jobs are handed in and answers fetched.
#ifndef QX_QUEUE_JOB_DESK_H
#define QX_QUEUE_JOB_DESK_H

#include <cstddef>
#include <functional>
#include <string>

#include "queue/job_source.h"
#include "queue/message.h"

namespace qx::queue {

struct AnswerTakers {
  std::function<void(const Answer&)> answer;
  std::function<void(const Dead&)> dead;
  // May be empty. Told, in one printable line, of what is no message of this version: it is left where it is. A queue
  // in which it would come again and again hands it over as dead instead, without a job.
  std::function<void(const std::string& why)> unreadable = {};
};

// The queue is as long as it may be; the same call may succeed later.
class QueueFull : public SourceFailure {
 public:
  using SourceFailure::SourceFailure;
};

// Calls throw SourceFailure, and BadMessage for a job that is none.
class JobDesk {
 public:
  virtual ~JobDesk() = default;
  JobDesk(const JobDesk&) = delete;
  JobDesk& operator=(const JobDesk&) = delete;

  // Returns once the job is kept, and throws QueueFull at once where there is no room; false when one of that id is
  // known to wait, be in hand or have an answer that nobody fetched. What not every queue can know is done twice, with
  // the same result. One that was buried is tried anew.
  virtual bool Submit(const Job& job) = 0;
  // Hands over what is there, and forgets each when its taker returns, which has kept it by then. The same answer may
  // come again in a later call. Returns how many there were.
  virtual size_t Collect(const AnswerTakers& takers) = 0;
  virtual SourceCounts Count() = 0;

 protected:
  JobDesk() = default;
};

}  // namespace qx::queue

#endif  // QX_QUEUE_JOB_DESK_H
