// What writing files asks of the system. One file of this folder for each system says how.
#ifndef QX_CLI_PLATFORM_FILES_H
#define QX_CLI_PLATFORM_FILES_H

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace qx::cli::platform {

// What fails gives one of errno's values, or leaves it in *error. No child of this process inherits an open file.

// A file that did not exist (else EEXIST), to be written from its start. Below 0 on failure.
int CreateNewFile(const std::filesystem::path& path, int* error);
// A file, created if missing, to which all that is written is added at its end; empty with `truncate`. Below 0 on
// failure.
int OpenToAppend(const std::filesystem::path& path, bool truncate, int* error);
// All bytes; 0 when that went well.
int WriteAll(int descriptor, const void* data, size_t size);
int CloseFile(int descriptor);

// Gives the file that name, in place of a file that has it.
int Replace(const std::filesystem::path& from, const std::filesystem::path& to);
// Exchanges two files that exist; false where that cannot be done.
bool Exchange(const std::filesystem::path& one, const std::filesystem::path& other);
// Removes a file. May be called in a signal's handler.
void Remove(const std::filesystem::path::value_type* path);
// Whether files can be created in the folder: 0, or why not.
int CanCreateIn(const std::filesystem::path& folder);
// Whether it says that there is no room left.
bool IsAboutSpace(int error);

// A number that no other process on this machine has now.
unsigned long ProcessNumber();

// The files and folders that a pattern with *, ? and [] means, sorted; false when a folder cannot be read.
bool Matches(const std::string& pattern, std::vector<std::string>* names);

}  // namespace qx::cli::platform

#endif  // QX_CLI_PLATFORM_FILES_H
