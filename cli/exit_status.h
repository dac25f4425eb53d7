// How the program ends.
#ifndef QX_CLI_EXIT_STATUS_H
#define QX_CLI_EXIT_STATUS_H

namespace qx::cli {

enum ExitStatus : int {
  kDone = 0,        // every photograph was worked on
  kSomeFailed = 1,  // at least one was not, for the reason on standard error
  kNotStarted = 2,  // wrong arguments, or an output that cannot be written: nothing was tried
};

}  // namespace qx::cli

#endif  // QX_CLI_EXIT_STATUS_H
