#include "host/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace qx::host {

Progress::Progress(size_t total)
    : total_(total),
      bar_(total > 1 && isatty(STDERR_FILENO) == 1),
      outcomesKeptBack_(bar_ && isatty(STDOUT_FILENO) == 1) {}

Progress::~Progress() {
  Wipe();
}

void Progress::Wipe() {
  if (!bar_ || shown_.empty()) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
}

void Progress::Begin(size_t item, const std::string& name) {
  if (!bar_) return;
  winsize size{};
  const size_t columns = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
  constexpr size_t kBarWidth = 24;
  const size_t done = kBarWidth * item / total_;
  shown_ = "[" + std::string(done, '#') + std::string(kBarWidth - done, '.') + "] " + std::to_string(item + 1) + "/" +
           std::to_string(total_) + " ";
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
  if (outcomesKeptBack_) return;
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

void Progress::Error(const std::string& line) {
  Wipe();
  std::fprintf(stderr, "idphoto: %s\n", line.c_str());
  if (bar_) std::fputs(shown_.c_str(), stderr);
  std::fflush(stderr);
}

void Progress::Summary(const std::string& line) {
  if (!outcomesKeptBack_) return;
  Wipe();
  shown_.clear();
  std::printf("%s\n", line.c_str());
}

}  // namespace qx::host
