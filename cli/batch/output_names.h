// Which files a run over several photographs reads and writes.
#ifndef QX_CLI_BATCH_OUTPUT_NAMES_H
#define QX_CLI_BATCH_OUTPUT_NAMES_H

#include <cstddef>
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

// One of several runs that share a list of photographs.
struct Shard {
  size_t number = 1, count = 1;  // number from 1 to count
};
// Of "3/10". Throws SetupFailure.
Shard ParseShard(const std::string& text);
// Which of these names are the shard's, in the order of the list: every count-th of the names once they are sorted byte
// by byte, so that all runs agree, in whatever order their shells hand the names on. None where there are more shards
// than names.
std::vector<size_t> ItemsOf(const Shard& shard, const std::vector<std::string>& names);

// Throws SetupFailure when writing one of the outputs would replace one of the photographs.
void RefuseToReplace(const std::vector<std::string>& photographs, const std::vector<std::filesystem::path>& outputs);

}  // namespace qx::cli

#endif  // QX_CLI_BATCH_OUTPUT_NAMES_H
