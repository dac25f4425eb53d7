// Options of a command from a file.
#ifndef QX_CLI_QUEUE_CONFIG_FILE_H
#define QX_CLI_QUEUE_CONFIG_FILE_H

#include <CLI/App.hpp>
#include <string>

namespace qx::cli {

// Gives the command's options what the file says, in the form of TOML or INI: a line for each, such as "jobs = 4". What
// the command line says counts before it. Throws SetupFailure: the file cannot be read, names what is no option of the
// command, or has a value that the option does not take.
void ReadConfigFile(CLI::App& command, const std::string& file);

}  // namespace qx::cli

#endif  // QX_CLI_QUEUE_CONFIG_FILE_H
