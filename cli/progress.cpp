#include "cli/progress.h"

#include <algorithm>

#include "cli/platform/process.h"

namespace qx::cli {
namespace {

// "40 s left ", "12 min left ", "3 h left "; nothing as long as too little is done to tell.
std::string TimeLeft(std::chrono::duration<double> elapsed, size_t done, size_t total) {
  if (done == 0 || elapsed.count() < 2) return "";
  const double seconds = elapsed.count() / static_cast<double>(done) * static_cast<double>(total - done);
  char text[40];
  if (seconds < 90) {
    std::snprintf(text, sizeof text, "%.0f s left ", seconds);
  } else if (seconds < 90 * 60) {
    std::snprintf(text, sizeof text, "%.0f min left ", seconds / 60);
  } else {
    std::snprintf(text, sizeof text, "%.1f h left ", seconds / 3600);
  }
  return text;
}

}  // namespace

Progress::Progress(size_t total, bool keepsBack)
    : total_(total),
      bar_(total > 1 && platform::IsTerminal(stderr) && (keepsBack || !platform::IsTerminal(stdout))),
      outcomesKeptBack_(bar_ && platform::IsTerminal(stdout)) {}

Progress::~Progress() {
  Wipe();
}

void Progress::Wipe() {
  if (!bar_ || shown_.empty()) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
}

void Progress::SetTotal(size_t total) {
  const std::lock_guard<std::mutex> lock(mutex_);
  total_ = total;
}

void Progress::Begin(size_t item, const std::string& name) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!bar_) return;
  total_ = std::max(total_, item + 1);
  const size_t columns = platform::TerminalColumns();
  constexpr size_t kBarWidth = 24;
  const size_t done = kBarWidth * item / total_;
  shown_ = "[" + std::string(done, '#') + std::string(kBarWidth - done, '.') + "] " + std::to_string(item + 1) + "/" +
           std::to_string(total_) + " " + TimeLeft(std::chrono::steady_clock::now() - start_, item, total_);
  // The name's end tells photographs apart; no character of it is cut in two.
  size_t from = 0;
  if (shown_.size() + 1 < columns && shown_.size() + name.size() + 1 > columns) {
    from = name.size() - (columns - shown_.size() - 1);
    while (from < name.size() && (static_cast<unsigned char>(name[from]) & 0xC0) == 0x80) ++from;
  }
  shown_ += name.substr(from);
  std::fprintf(stderr, "\r\033[K%s", shown_.c_str());
  std::fflush(stderr);
}

void Progress::Outcome(const std::string& line) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (outcomesKeptBack_) return;
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

void Progress::Error(const std::string& line) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Wipe();
  std::fprintf(stderr, "idphoto: %s\n", line.c_str());
  if (bar_) std::fputs(shown_.c_str(), stderr);
  std::fflush(stderr);
}

void Progress::Summary(const std::string& line) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!outcomesKeptBack_) return;
  Wipe();
  shown_.clear();
  std::printf("%s\n", line.c_str());
}

void Progress::Close(const std::string& lines) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Wipe();
  shown_.clear();
  std::fputs(lines.c_str(), stdout);
  std::fflush(stdout);
}

}  // namespace qx::cli
