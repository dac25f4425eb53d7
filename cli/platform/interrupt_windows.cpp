#include <windows.h>

#include <atomic>
#include <cstdio>

#include "cli/platform/interrupt.h"

namespace qx::cli {
namespace {

std::atomic<bool> interrupted{false};
const char* now = "";  // what it is to say

// Runs in a thread of its own. What it does not answer goes on to the handler that was there before.
BOOL WINAPI OnControl(DWORD event) {
  if ((event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) || interrupted.exchange(true)) return FALSE;
  std::fprintf(stderr, "\nidphoto: %s; interrupt again to stop at once\n", now);
  return TRUE;
}

}  // namespace

// There is one kind of interrupt here.
InterruptWatch::InterruptWatch(std::initializer_list<int>, const char* told) {
  interrupted = false;
  now = told;
  SetConsoleCtrlHandler(OnControl, TRUE);
}

InterruptWatch::~InterruptWatch() {
  SetConsoleCtrlHandler(OnControl, FALSE);
}

bool InterruptWatch::Interrupted() const {
  return interrupted;
}

}  // namespace qx::cli
