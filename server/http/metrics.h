// What the server counts for /metrics.
#ifndef QX_SERVER_HTTP_METRICS_H
#define QX_SERVER_HTTP_METRICS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "server/http/exposition.h"

namespace qx::server {

// One thread.
class Metrics {
 public:
  // What was answered. `label` is one of LabelOf: a stranger's words would make series without end.
  void Answered(std::string_view label, unsigned status, std::chrono::nanoseconds time, size_t received, size_t sent);
  void Accepted() { ++accepted_; }
  // A connection that was cut for being too slow.
  void TimedOut() { ++timedOut_; }

  struct Now {
    size_t connections = 0, waiting = 0, slots = 0, freeSlots = 0;
    bool draining = false;
  };
  std::string Text(const Now& now) const;

 private:
  static constexpr Histogram::Limits kLimits = {0.01, 0.03, 0.1, 0.3, 1, 3, 10, 30, 100};

  std::map<std::pair<std::string, unsigned>, uint64_t> answers_;
  std::map<std::string, Histogram, std::less<>> times_;
  uint64_t accepted_ = 0, timedOut_ = 0, received_ = 0, sent_ = 0;
};

}  // namespace qx::server

#endif  // QX_SERVER_HTTP_METRICS_H
