// Waiting for a queue that has no room, or cannot be reached now.
#ifndef QX_CLI_QUEUE_PATIENCE_H
#define QX_CLI_QUEUE_PATIENCE_H

#include <algorithm>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "cli/platform/interrupt.h"
#include "queue/job_desk.h"
#include "worker/waits.h"

namespace qx::cli {

class Patience {
 public:
  // `say` gets lines for the user.
  Patience(const InterruptWatch* watch, std::function<void(const std::string&)> say)
      : watch_(*watch), say_(std::move(say)) {}

  // What `call` gives; none after an interrupt. A full queue is waited for however long it takes; one that cannot be
  // reached is tried some times, and then its SourceFailure goes on.
  template <typename Call>
  auto Try(Call call) -> std::optional<decltype(call())> {
    constexpr int kTries = 5;
    worker::Waits waits(std::chrono::milliseconds(500));
    bool isTold = false;
    for (int failures = 0; !watch_.Interrupted();) {
      try {
        return call();
      } catch (const queue::QueueFull& full) {
        if (!isTold) say_(std::string(full.what()) + "; waiting");
        isTold = true;
      } catch (const queue::SourceFailure& failure) {
        if (++failures == kTries) throw;
        say_(std::string(failure.what()) + "; trying again");
      }
      Sleep(waits.Next());
    }
    return std::nullopt;
  }

  // Less after an interrupt.
  void Sleep(std::chrono::milliseconds time) const {
    constexpr std::chrono::milliseconds kLook{50};
    for (; time.count() > 0 && !watch_.Interrupted(); time -= kLook) std::this_thread::sleep_for(std::min(time, kLook));
  }

 private:
  const InterruptWatch& watch_;
  const std::function<void(const std::string&)> say_;
};

}  // namespace qx::cli

#endif  // QX_CLI_QUEUE_PATIENCE_H
