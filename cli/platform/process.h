// The process as the system starts, interrupts and shows it. One file of this folder for each system says how.
#ifndef QX_CLI_PLATFORM_PROCESS_H
#define QX_CLI_PLATFORM_PROCESS_H

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

namespace qx::cli::platform {

// Everything that is to be settled before the first word is written: how text reaches a terminal, and what becomes of
// memory that is freed. Every step takes and gives back pictures of some megabytes; to use the same pages again is
// cheaper than to have the system clear new ones.
void StartProcess();

// The arguments, the program's name first, in UTF-8 where the system has characters and no bytes.
std::vector<std::string> Arguments(int argc, char** argv);

// Has `clean` run when an interrupt (Ctrl-C), a request to end or a terminal that closes ends the program. It may do
// what a signal's handler may. Once, at the start.
void RunBeforeInterruptEnds(void (*clean)());

// Whether text that is written there is shown on a terminal which obeys control sequences (ECMA-48).
bool IsTerminal(std::FILE* stream);
// Of the terminal that shows standard error; 80 where that is unknown.
size_t TerminalColumns();

}  // namespace qx::cli::platform

#endif  // QX_CLI_PLATFORM_PROCESS_H
