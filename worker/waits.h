// How long to wait before something that failed is tried again.
#ifndef QX_WORKER_WAITS_H
#define QX_WORKER_WAITS_H

#include <algorithm>
#include <chrono>
#include <random>

namespace qx::worker {

// Twice as long each time, up to half a minute, and never the same for two that failed together: who comes back all at
// once brings down what has just got up. For one thread.
class Waits {
 public:
  explicit Waits(std::chrono::milliseconds first) : first_(first), next_(first) {}

  std::chrono::milliseconds Next() {
    constexpr std::chrono::milliseconds kLongest{30'000};
    const std::chrono::milliseconds wait = next_;
    next_ = std::min(next_ * 2, kLongest);
    std::uniform_real_distribution<double> share(0.5, 1.0);
    return std::chrono::duration_cast<std::chrono::milliseconds>(wait * share(random_));
  }
  void Reset() { next_ = first_; }

 private:
  std::chrono::milliseconds first_, next_;
  std::minstd_rand random_{std::random_device()()};
};

}  // namespace qx::worker

#endif  // QX_WORKER_WAITS_H
