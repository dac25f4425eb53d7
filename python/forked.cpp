#include "python/forked.h"

#include <pthread.h>

#include <atomic>
#include <stdexcept>

namespace qx::python {
namespace {

std::atomic<bool> hasWorked{false};
std::atomic<bool> isLost{false};

}  // namespace

void WatchForks() {
  pthread_atfork(nullptr, nullptr, [] { isLost = hasWorked.load(); });
}

void CheckNotForked() {
  if (isLost) {
    throw std::runtime_error(
        "this process was forked from one that had used idphoto, and lacks its threads; start processes with the "
        "method \"spawn\" or \"forkserver\"");
  }
  hasWorked = true;
}

}  // namespace qx::python
