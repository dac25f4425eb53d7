// Files that appear whole or not at all.
#ifndef QX_CLI_OUTPUT_FILE_H
#define QX_CLI_OUTPUT_FILE_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <vector>

namespace qx::cli {

// Writes to a temporary name in the target's folder and renames at Commit, so that nobody ever sees half a file. The
// temporary is removed by the destructor when there was no Commit, and by a signal that ends the program once
// RemoveTemporariesOnSignals has been called.
class OutputFile {
 public:
  // Throws Failure when the temporary cannot be created.
  explicit OutputFile(std::filesystem::path target);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Appends `size` bytes. Throws Failure, for instance when the disk is full.
  void Write(const void* data, size_t size);
  // Closes the file and gives it its name; a file of that name is replaced. Throws Failure.
  void Commit();
  // The same for several, in this order: all of them or, with a Failure, none, files of their names as they were.
  // (Where the file system cannot exchange two files, one that was replaced before another failed stays replaced.)
  static void CommitAll(std::initializer_list<OutputFile*> files);

 private:
  void Close();
  void Place(bool revocable);
  void TakeBack() noexcept;
  void Discard() noexcept;

  std::filesystem::path target_;
  std::filesystem::path temporary_;
  int descriptor_ = -1;
  bool replaced_ = false;  // the temporary is what had the target's name before
  int slot_ = -1;          // where the signal handler finds the temporary's name
};

// Has SIGINT, SIGTERM and SIGHUP remove the temporaries before they end the program. Call once, at the start.
void RemoveTemporariesOnSignals();

// Writes the bytes under that name, whole or not at all. Throws Failure.
void WriteFile(const std::filesystem::path& target, const std::vector<uint8_t>& bytes);

// Throws SetupFailure when there is no such folder or files cannot be created in it.
void CheckOutputFolder(const std::filesystem::path& folder);
// The same, but creates the folder (and those above it) first if it is missing.
void PrepareOutputFolder(const std::filesystem::path& folder);

// True when both names lead to one existing file.
bool SameFile(const std::filesystem::path& one, const std::filesystem::path& other);

}  // namespace qx::cli

#endif  // QX_CLI_OUTPUT_FILE_H
