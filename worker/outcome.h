// How work on a job can end, but for the finished photograph and for what a Failure says of one.
#ifndef QX_WORKER_OUTCOME_H
#define QX_WORKER_OUTCOME_H

#include <stdexcept>
#include <string>
#include <utility>

namespace qx::worker {

// The job asks for what no worker does, however often: an answer.
class Refusal : public std::runtime_error {
 public:
  // `reason`: a stable name, such as changed_photograph. The text is a printable line.
  Refusal(std::string reason, const std::string& text) : std::runtime_error(text), reason_(std::move(reason)) {}
  const std::string& Reason() const { return reason_; }

 private:
  std::string reason_;
};

// Stable names of refusals.
inline constexpr char kChangedPhotograph[] = "changed_photograph", kNotAllowed[] = "not_allowed",
                      kFileTooLarge[] = "file_too_large", kBadJob[] = "bad_job", kNoAnswer[] = "not_served";

// This try came to nothing for a reason that another might not meet. The text is a printable line.
class Trouble : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The worker ends, or has nobody to do the work now: not tried at all.
class NotBegun : public std::runtime_error {
 public:
  NotBegun() : std::runtime_error("not begun") {}
};

}  // namespace qx::worker

#endif  // QX_WORKER_OUTCOME_H
