#include <malloc.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "cli/platform/process.h"

namespace qx::cli::platform {
namespace {

void (*cleanUp)() = nullptr;

void OnSignal(int number) {
  cleanUp();
  // The handler is gone (SA_RESETHAND): the signal now ends the program as the caller expects.
  raise(number);
}

}  // namespace

void StartProcess() {
  constexpr int kMost = 256 << 20;
  mallopt(M_MMAP_THRESHOLD, kMost);
  mallopt(M_TRIM_THRESHOLD, kMost);
}

std::vector<std::string> Arguments(int argc, char** argv) {
  return {argv, argv + argc};
}

void RunBeforeInterruptEnds(void (*clean)()) {
  cleanUp = clean;
  struct sigaction action = {};
  action.sa_handler = OnSignal;
  action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_NODEFER;
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction old = {};
    // A caller that has these signals ignored (nohup, a background job) keeps it that way.
    if (sigaction(number, nullptr, &old) == 0 && old.sa_handler != SIG_IGN) sigaction(number, &action, nullptr);
  }
}

bool IsTerminal(std::FILE* stream) {
  return isatty(fileno(stream)) == 1;
}

size_t TerminalColumns() {
  constexpr size_t kUsual = 80;
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsual;
}

}  // namespace qx::cli::platform
