#include <fcntl.h>
#include <io.h>
#include <windows.h>
// Needs the one above.
#include <shellapi.h>

#include "cli/platform/process.h"

namespace qx::cli::platform {
namespace {

void (*cleanUp)() = nullptr;
UINT pageBefore = 0;

// Runs in a thread of its own. The next handler, the system's, ends the program.
BOOL WINAPI OnControl(DWORD) {
  cleanUp();
  return FALSE;
}

HANDLE ConsoleOf(std::FILE* stream) {
  return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
}

std::string Utf8Of(const wchar_t* text) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  if (size <= 1) return {};
  std::string utf8(static_cast<size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), size, nullptr, nullptr);
  utf8.pop_back();  // the end mark
  return utf8;
}

}  // namespace

void StartProcess() {
  // The same bytes as elsewhere, without carriage returns.
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
  // The console belongs to the shell too, which has its old page back afterwards.
  pageBefore = GetConsoleOutputCP();
  if (pageBefore == 0 || pageBefore == CP_UTF8 || !SetConsoleOutputCP(CP_UTF8)) return;
  std::atexit([] { SetConsoleOutputCP(pageBefore); });
}

std::vector<std::string> Arguments(int argc, char** argv) {
  int count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  if (!wide) return {argv, argv + argc};
  std::vector<std::string> arguments;
  for (int i = 0; i < count; ++i) arguments.push_back(Utf8Of(wide[i]));
  LocalFree(wide);
  return arguments;
}

void RunBeforeInterruptEnds(void (*clean)()) {
  cleanUp = clean;
  SetConsoleCtrlHandler(OnControl, TRUE);
}

bool IsTerminal(std::FILE* stream) {
  DWORD mode = 0;
  if (!GetConsoleMode(ConsoleOf(stream), &mode)) return false;
  constexpr DWORD kSequences = 4;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING, from Windows 10 on
  return (mode & kSequences) != 0 || SetConsoleMode(ConsoleOf(stream), mode | kSequences);
}

size_t TerminalColumns() {
  constexpr size_t kUsual = 80;
  CONSOLE_SCREEN_BUFFER_INFO facts = {};
  if (!GetConsoleScreenBufferInfo(ConsoleOf(stderr), &facts)) return kUsual;
  const int columns = facts.srWindow.Right - facts.srWindow.Left + 1;
  return columns > 0 ? static_cast<size_t>(columns) : kUsual;
}

}  // namespace qx::cli::platform
