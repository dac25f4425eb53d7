// What reading pictures asks of the system. One file of this folder for each system says how.
#ifndef QX_CODEC_PLATFORM_PLATFORM_H
#define QX_CODEC_PLATFORM_PLATFORM_H

#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace qx::codec::platform {

enum class FileKind { kRegular, kFolder, kOther };

// A file opened for reading, by whatever its name leads to; without waiting, as for a pipe's writer. Calls that fail
// leave one of errno's values in Error. Not to be used further when the opening has failed.
class FileToRead {
 public:
  explicit FileToRead(const std::filesystem::path& path);
  ~FileToRead();
  FileToRead(const FileToRead&) = delete;
  FileToRead& operator=(const FileToRead&) = delete;

  int Error() const { return error_; }  // 0: none
  // False when the system does not tell. The size is in bytes, of a regular file.
  bool Look(FileKind* kind, uint64_t* size);
  // Up to `size` bytes: how many, 0 at the end, below 0 on failure.
  ptrdiff_t Read(uint8_t* to, size_t size);

 private:
  intptr_t handle_;
  int error_ = 0;
};

// True when that much memory can be had now. Nothing stays taken.
bool HasMemory(int64_t bytes);

// Keeps the image library from its extensions, before it starts: it would load all that it finds, which takes longer
// than all the rest.
void LeaveOutExtensions();

// Loads the extension of that name from where the image library, known by the address of one of its functions, keeps
// them, if it is there. It stays for good: the library holds on to its functions.
void LoadExtension(const void* function, const char* folder, const char* name);

}  // namespace qx::codec::platform

#endif  // QX_CODEC_PLATFORM_PLATFORM_H
