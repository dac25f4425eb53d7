#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "cli/platform/interrupt.h"

namespace qx::cli {
namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the signal handler writes it");
// What the second interrupt does; written before the handler is in place.
struct Next {
  int number;
  struct sigaction action;
};
Next next[4] = {};
const char* now = "";  // what it is to say

void LetNextThrough() {
  for (const Next& one : next) {
    if (one.number != 0) sigaction(one.number, &one.action, nullptr);
  }
}

void OnInterrupt(int) {
  const int error = errno;
  interrupted = true;
  LetNextThrough();
  for (const char* const part : {"\nidphoto: ", now, "; interrupt again to stop at once\n"}) {
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, part, std::strlen(part));
  }
  errno = error;
}

}  // namespace

InterruptWatch::InterruptWatch(std::initializer_list<int> signals, const char* told) {
  interrupted = false;
  now = told;
  std::fill(std::begin(next), std::end(next), Next{});
  Next* watched = next;
  for (const int number : signals) {
    struct sigaction before = {};
    sigaction(number, nullptr, &before);
    if (before.sa_handler != SIG_IGN) *watched++ = {number, before};  // nohup, a background job: it stays ignored
  }
  struct sigaction action = {};
  action.sa_handler = OnInterrupt;
  action.sa_flags = SA_RESTART;
  for (const Next* one = next; one != watched; ++one) sigaction(one->number, &action, nullptr);
}

InterruptWatch::~InterruptWatch() {
  LetNextThrough();
}

bool InterruptWatch::Interrupted() const {
  return interrupted;
}

}  // namespace qx::cli
