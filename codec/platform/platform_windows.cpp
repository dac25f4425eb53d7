#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <limits>

#include "codec/platform/platform.h"

namespace qx::codec::platform {
namespace {

HANDLE HandleOf(intptr_t number) {
  return reinterpret_cast<HANDLE>(number);
}

int LastError() {
  switch (GetLastError()) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_BAD_NETPATH: return ENOENT;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION: return EACCES;
    case ERROR_FILENAME_EXCED_RANGE: return ENAMETOOLONG;
    case ERROR_TOO_MANY_OPEN_FILES: return EMFILE;
    default: return EIO;
  }
}

}  // namespace

FileToRead::FileToRead(const std::filesystem::path& path)
    : handle_(reinterpret_cast<intptr_t>(
          CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS /* opens folders too */, nullptr))) {
  if (HandleOf(handle_) == INVALID_HANDLE_VALUE) error_ = LastError();
}

FileToRead::~FileToRead() {
  if (HandleOf(handle_) != INVALID_HANDLE_VALUE) CloseHandle(HandleOf(handle_));
}

bool FileToRead::Look(FileKind* kind, uint64_t* size) {
  *kind = FileKind::kOther;
  *size = 0;
  if (GetFileType(HandleOf(handle_)) != FILE_TYPE_DISK) return true;
  BY_HANDLE_FILE_INFORMATION facts = {};
  if (!GetFileInformationByHandle(HandleOf(handle_), &facts)) {
    error_ = LastError();
    return false;
  }
  *kind = (facts.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? FileKind::kFolder : FileKind::kRegular;
  *size = uint64_t{facts.nFileSizeHigh} << 32 | facts.nFileSizeLow;
  return true;
}

ptrdiff_t FileToRead::Read(uint8_t* to, size_t size) {
  constexpr size_t kMost = size_t{1} << 30;  // the system counts in 32 bits
  DWORD count = 0;
  if (ReadFile(HandleOf(handle_), to, static_cast<DWORD>(std::min(size, kMost)), &count, nullptr)) return count;
  error_ = LastError();
  return -1;
}

bool HasMemory(int64_t bytes) {
  void* const place = VirtualAlloc(nullptr, static_cast<size_t>(bytes), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  if (!place) return false;
  VirtualFree(place, 0, MEM_RELEASE);
  return true;
}

// The library beside the program is built without any.
void LeaveOutExtensions() {}
void LoadExtension(const void*, const char*, const char*) {}

}  // namespace qx::codec::platform
