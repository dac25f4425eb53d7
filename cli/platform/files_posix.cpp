#include <fcntl.h>
#include <glob.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "cli/platform/files.h"

namespace qx::cli::platform {
namespace fs = std::filesystem;
namespace {

constexpr mode_t kMode = 0666;

int Open(const fs::path& path, int flags, int* error) {
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, kMode);
  *error = descriptor < 0 ? errno : 0;
  return descriptor;
}

}  // namespace

int CreateNewFile(const fs::path& path, int* error) {
  return Open(path, O_EXCL, error);
}

int OpenToAppend(const fs::path& path, bool truncate, int* error) {
  return Open(path, O_APPEND | (truncate ? O_TRUNC : 0), error);
}

int WriteAll(int descriptor, const void* data, size_t size) {
  const char* bytes = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t written = write(descriptor, bytes, size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return errno;
    bytes += written;
    size -= static_cast<size_t>(written);
  }
  return 0;
}

int CloseFile(int descriptor) {
  return close(descriptor) == 0 ? 0 : errno;
}

int Replace(const fs::path& from, const fs::path& to) {
  return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

bool Exchange(const fs::path& one, const fs::path& other) {
#ifdef RENAME_EXCHANGE
  return renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0;
#else
  return false;
#endif
}

void Remove(const char* path) {
  unlink(path);
}

int CanCreateIn(const fs::path& folder) {
  return access(folder.c_str(), W_OK | X_OK) == 0 ? 0 : errno;
}

bool IsAboutSpace(int error) {
  return error == ENOSPC || error == EDQUOT;
}

unsigned long ProcessNumber() {
  return static_cast<unsigned long>(getpid());
}

bool Matches(const std::string& pattern, std::vector<std::string>* names) {
  glob_t found{};
  const int error = glob(pattern.c_str(), 0, nullptr, &found);
  names->assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
  globfree(&found);
  return error == 0 || error == GLOB_NOMATCH;
}

}  // namespace qx::cli::platform
