// Which files a run over several photographs reads and writes.
#ifndef QX_CLI_OUTPUT_NAMES_H
#define QX_CLI_OUTPUT_NAMES_H

#include <filesystem>
#include <string>
#include <vector>

namespace qx::cli {

// Gives each photograph a name of its own for its output: its file name without the ending, and for those that would
// fall on an earlier one with -2, -3, ... behind.
std::vector<std::string> OutputStems(const std::vector<std::string>& photographs);

// The photographs that the arguments name, each once: a folder stands for the photographs in it (by their endings,
// without those of folders below, sorted by name), a pattern with *, ? or [ for the files it matches (sorted), and
// anything else for itself, whether it exists or not. Throws SetupFailure for a folder or pattern without photographs.
std::vector<std::string> ExpandPhotographs(const std::vector<std::string>& arguments);

// Throws SetupFailure when writing one of the outputs would replace one of the photographs.
void RefuseToReplace(const std::vector<std::string>& photographs, const std::vector<std::filesystem::path>& outputs);

}  // namespace qx::cli

#endif  // QX_CLI_OUTPUT_NAMES_H
