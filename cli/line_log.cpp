#include "cli/line_log.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

namespace qx::cli {
namespace {

constexpr size_t kMostWaiting = 256 << 10;  // bytes
constexpr std::chrono::seconds kTimeToEnd{1};

}  // namespace

struct LineLog::Shared {
  explicit Shared(int number) : descriptor(number) {}

  const int descriptor;
  std::mutex mutex;  // of the rest
  std::condition_variable changed;
  std::string waiting;  // lines with their ends
  uint64_t leftOut = 0;
  bool isEnding = false, isOver = false;
};

LineLog::LineLog(int descriptor) : shared_(std::make_shared<Shared>(descriptor)) {
  // The thread begins with these signals barred: they are other threads' matter, and SIGPIPE nobody's.
  sigset_t all, before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  try {
    std::thread([shared = shared_] { Live(shared); }).detach();
  } catch (...) {
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    throw;
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

LineLog::~LineLog() {
  std::unique_lock lock(shared_->mutex);
  shared_->isEnding = true;
  shared_->changed.notify_all();
  shared_->changed.wait_for(lock, kTimeToEnd, [this] { return shared_->isOver; });
}

void LineLog::Say(const std::string& line) noexcept {
  try {
    const std::lock_guard lock(shared_->mutex);
    const bool isFull = shared_->waiting.size() + line.size() > kMostWaiting;
    if (isFull) {
      ++shared_->leftOut;
    } else {
      if (shared_->leftOut > 0) {
        shared_->waiting += "(" + std::to_string(std::exchange(shared_->leftOut, 0)) + " lines left out)\n";
      }
      shared_->waiting += line + "\n";
    }
  } catch (const std::exception&) {
    return;  // memory is short: the line is lost
  }
  shared_->changed.notify_all();
}

void LineLog::Live(const std::shared_ptr<Shared>& shared) {
  std::unique_lock lock(shared->mutex);
  for (;;) {
    shared->changed.wait(lock, [&] { return shared->isEnding || !shared->waiting.empty(); });
    if (shared->waiting.empty()) break;
    const std::string text = std::exchange(shared->waiting, {});
    lock.unlock();
    Write(shared.get(), text);
    lock.lock();
  }
  shared->isOver = true;
  shared->changed.notify_all();
}

void LineLog::Write(const Shared* shared, const std::string& text) {
  for (size_t at = 0; at < text.size();) {
    const ssize_t count = write(shared->descriptor, text.data() + at, text.size() - at);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;  // nobody reads any more, or the disk is full
    at += static_cast<size_t>(count);
  }
}

}  // namespace qx::cli
