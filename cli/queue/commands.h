// The program's commands for queues.
#ifndef QX_CLI_QUEUE_COMMANDS_H
#define QX_CLI_QUEUE_COMMANDS_H

#include <CLI/App.hpp>

namespace qx::cli {

// Each adds a subcommand whose callback does the work and stores how it went in *status.
void AddWorkCommand(CLI::App& app, int* status);
void AddSubmitCommand(CLI::App& app, int* status);
void AddCollectCommand(CLI::App& app, int* status);

}  // namespace qx::cli

#endif  // QX_CLI_QUEUE_COMMANDS_H
