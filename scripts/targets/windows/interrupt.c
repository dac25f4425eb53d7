/*
 * usage: interrupt TIMES FILE COMMAND...
 * Runs the command in a console of its own and, once the file is there, prints what that console shows and sends it so
 * many Ctrl-C. Ends as the command does.
 */
#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>
#include <windows.h>

static BOOL WINAPI Ignore(DWORD event) {
  (void)event;
  return TRUE;
}

/* The command's part of our own command line, as it stands. */
static wchar_t* CommandBehind(int words) {
  wchar_t* at = GetCommandLineW();
  while (words-- > 0) {
    int isQuoted = 0;
    for (; *at && (isQuoted || *at != L' '); ++at) isQuoted ^= *at == L'"';
    while (*at == L' ') ++at;
  }
  return at;
}

/* Line by line, of what is not ASCII a question mark. */
static void PrintConsole(void) {
  HANDLE screen = CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, NULL,
                              OPEN_EXISTING, 0, NULL);
  CONSOLE_SCREEN_BUFFER_INFO facts;
  if (screen == INVALID_HANDLE_VALUE || !GetConsoleScreenBufferInfo(screen, &facts)) return;
  for (COORD at = {0, 0}; at.Y <= facts.dwCursorPosition.Y; ++at.Y) {
    for (at.X = 0; at.X < facts.dwSize.X; ++at.X) {
      wchar_t letter = L' ';
      DWORD count = 0;
      ReadConsoleOutputCharacterW(screen, &letter, 1, at, &count);
      putchar(letter < 128 ? (char)letter : '?');
    }
    putchar('\n');
  }
  fflush(stdout);
  CloseHandle(screen);
}

int wmain(int argc, wchar_t** argv) {
  if (argc < 4) return 2;
  STARTUPINFOW start = {sizeof start};
  PROCESS_INFORMATION process;
  if (!CreateProcessW(NULL, CommandBehind(3), NULL, NULL, FALSE, CREATE_NO_WINDOW, NULL, NULL, &start, &process))
    return 3;
  while (GetFileAttributesW(argv[2]) == INVALID_FILE_ATTRIBUTES) {
    if (WaitForSingleObject(process.hProcess, 20) == WAIT_OBJECT_0) return 4;
  }
  FreeConsole();
  if (!AttachConsole(process.dwProcessId)) return 5;
  PrintConsole();
  SetConsoleCtrlHandler(Ignore, TRUE);
  for (int i = _wtoi(argv[1]); i > 0; --i) {
    GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
    Sleep(200);
  }
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD status = 0;
  GetExitCodeProcess(process.hProcess, &status);
  return status > 255 ? 255 : (int)status;
}
