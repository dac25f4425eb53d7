// What a worker counts for /metrics.
#ifndef QX_WORKER_COUNTS_H
#define QX_WORKER_COUNTS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

#include "server/children/children.h"
#include "server/http/exposition.h"

namespace qx::worker {

// How a job left this worker's hands.
enum class Ending { kDone, kFailed, kGivenBack, kBuried, kReturned };
inline constexpr size_t kEndings = 5;

// For any thread.
class Counts {
 public:
  void Taken();
  // `seconds`: of jobs that were answered.
  void Ended(Ending ending, double seconds = 0);
  std::string Text(const server::ChildrenState& children, bool reaches) const;

 private:
  static constexpr server::Histogram::Limits kLimits = {0.1, 0.25, 0.5, 1, 2.5, 5, 10, 30, 60};

  mutable std::mutex mutex_;
  uint64_t taken_ = 0;
  std::array<uint64_t, kEndings> ended_{};
  server::Histogram times_{kLimits};  // of what was answered
};

}  // namespace qx::worker

#endif  // QX_WORKER_COUNTS_H
