// Where the time of requests goes, for /metrics.
#ifndef QX_SERVER_CHILDREN_STAGE_TIMES_H
#define QX_SERVER_CHILDREN_STAGE_TIMES_H

#include <array>
#include <cstdint>
#include <mutex>
#include <string>

#include "server/children/message.h"

namespace qx::server {

// For any thread.
class StageTimes {
 public:
  // Of one request; a stage that took no time was none of it.
  void Add(const StageSeconds& seconds);
  // In the text format of Prometheus (version 0.0.4).
  std::string Text() const;

 private:
  mutable std::mutex mutex_;
  StageSeconds sums_ = {};
  std::array<uint64_t, kStages> counts_ = {};
};

}  // namespace qx::server

#endif  // QX_SERVER_CHILDREN_STAGE_TIMES_H
