#include <dlfcn.h>
#include <fcntl.h>
#include <gmodule.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "codec/platform/platform.h"

namespace qx::codec::platform {
namespace fs = std::filesystem;

FileToRead::FileToRead(const fs::path& path) : handle_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
  if (handle_ < 0) error_ = errno;
}

FileToRead::~FileToRead() {
  if (handle_ >= 0) close(static_cast<int>(handle_));
}

bool FileToRead::Look(FileKind* kind, uint64_t* size) {
  struct stat status = {};
  if (fstat(static_cast<int>(handle_), &status) != 0) {
    error_ = errno;
    return false;
  }
  *kind = S_ISREG(status.st_mode) ? FileKind::kRegular : S_ISDIR(status.st_mode) ? FileKind::kFolder : FileKind::kOther;
  *size = static_cast<uint64_t>(status.st_size);
  return true;
}

ptrdiff_t FileToRead::Read(uint8_t* to, size_t size) {
  for (;;) {
    const ssize_t count = read(static_cast<int>(handle_), to, size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) error_ = errno;
    return count;
  }
}

bool HasMemory(int64_t bytes) {
  void* const place =
      mmap(nullptr, static_cast<size_t>(bytes), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (place == MAP_FAILED) return false;
  munmap(place, static_cast<size_t>(bytes));
  return true;
}

void LeaveOutExtensions() {
  // It looks for them below this folder. There are none in a place that is no folder.
  setenv("VIPSHOME", "/dev/null", 1);
}

void LoadExtension(const void* function, const char* folder, const char* name) {
  Dl_info library{};
  if (dladdr(function, &library) == 0) return;
  const fs::path file = fs::path(library.dli_fname).parent_path() / folder / (std::string(name) + ".so");
  g_module_open(file.c_str(), G_MODULE_BIND_LAZY);  // calls what makes the extension known
}

}  // namespace qx::codec::platform
