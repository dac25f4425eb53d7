#include "cli/interrupt.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace qx::cli {
namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the signal handler writes it");
struct sigaction next = {};  // what the second interrupt does; written before the handler is in place

void OnInterrupt(int number) {
  const int error = errno;
  interrupted = true;
  sigaction(number, &next, nullptr);
  constexpr char kMessage[] = "\nidphoto: finishing the photographs at work; interrupt again to stop at once\n";
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, kMessage, sizeof kMessage - 1);
  errno = error;
}

}  // namespace

InterruptWatch::InterruptWatch() {
  interrupted = false;
  sigaction(SIGINT, nullptr, &before_);
  next = before_;
  if (before_.sa_handler == SIG_IGN) return;  // nohup, a background job: it stays ignored
  struct sigaction action = {};
  action.sa_handler = OnInterrupt;
  action.sa_flags = SA_RESTART;
  sigaction(SIGINT, &action, nullptr);
}

InterruptWatch::~InterruptWatch() {
  sigaction(SIGINT, &before_, nullptr);
}

bool InterruptWatch::Interrupted() const {
  return interrupted;
}

}  // namespace qx::cli
