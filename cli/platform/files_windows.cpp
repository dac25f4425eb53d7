#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <string_view>
#include <system_error>

#include "cli/platform/file_name.h"
#include "cli/platform/files.h"

namespace qx::cli::platform {
namespace fs = std::filesystem;
namespace {

int LastError() {
  switch (GetLastError()) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_BAD_NETPATH: return ENOENT;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS: return EEXIST;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_WRITE_PROTECT: return EACCES;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL: return ENOSPC;
    case ERROR_FILENAME_EXCED_RANGE: return ENAMETOOLONG;
    default: return EIO;
  }
}

// Others may read, rename and remove the file while it is open; the handler of an interrupt does the last.
int Open(const fs::path& path, DWORD access, DWORD how, int flags, int* error) {
  constexpr DWORD kShared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const HANDLE file = CreateFileW(path.c_str(), access, kShared, nullptr, how, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    *error = LastError();
    return -1;
  }
  const int descriptor = _open_osfhandle(reinterpret_cast<intptr_t>(file), flags | _O_BINARY | _O_NOINHERIT);
  *error = descriptor < 0 ? errno : 0;
  if (descriptor < 0) CloseHandle(file);
  return descriptor;
}

// The length of what stands for one letter at the start of the pattern, if that letter fits; else 0. Letters in any
// case, as the system has it.
size_t FitsOne(std::string_view pattern, char letter) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  const char wanted = lower(letter);
  const size_t first = pattern.size() > 1 && pattern[1] == '!' ? 2 : 1;
  // A bracket right at the start of a list is one of its letters.
  const size_t close = pattern[0] == '[' ? pattern.find(']', first + 1) : std::string_view::npos;
  if (close == std::string_view::npos) return pattern[0] == '?' || lower(pattern[0]) == wanted ? 1 : 0;
  bool isIn = false;
  for (size_t i = first; i < close; ++i) {
    const bool isRange = i + 2 < close && pattern[i + 1] == '-';
    isIn = isIn || (lower(pattern[i]) <= wanted && wanted <= lower(pattern[isRange ? i + 2 : i]));
    if (isRange) i += 2;
  }
  return isIn == (first == 1) ? close + 1 : 0;
}

// Whether the text is one that the pattern means (POSIX.1-2017, XCU 2.13).
bool Fits(std::string_view pattern, std::string_view text) {
  constexpr size_t kNone = std::string_view::npos;
  // Behind the last star, and where what follows it was last tried: an earlier star need never take more.
  size_t star = kNone, tried = 0;
  for (size_t p = 0, t = 0;;) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = ++p;
      tried = t;
      continue;
    }
    if (p == pattern.size() && t == text.size()) return true;
    const size_t length = p < pattern.size() && t < text.size() ? FitsOne(pattern.substr(p), text[t]) : 0;
    if (length > 0) {
      p += length;
      ++t;
    } else if (star != kNone && tried < text.size()) {
      p = star;
      t = ++tried;
    } else {
      return false;
    }
  }
}

// Everything in the folder whose name the pattern means.
bool MatchesIn(const fs::path& folder, const std::string& pattern, std::vector<fs::path>* found) {
  std::error_code error;
  for (fs::directory_iterator i(folder.empty() ? "." : folder, error), end; !error && i != end; i.increment(error)) {
    const std::string name = NameOf(i->path().filename());
    if ((name[0] != '.' || pattern[0] == '.') && Fits(pattern, name)) found->push_back(folder / i->path().filename());
  }
  return !error;
}

}  // namespace

int CreateNewFile(const fs::path& path, int* error) {
  return Open(path, GENERIC_WRITE | DELETE, CREATE_NEW, 0, error);
}

int OpenToAppend(const fs::path& path, bool truncate, int* error) {
  // Truncated through another handle: this one may do nothing but append, so that lines stay whole beside those of
  // other programs.
  if (truncate) {
    const int emptied = Open(path, GENERIC_WRITE, CREATE_ALWAYS, 0, error);
    if (emptied < 0) return emptied;
    _close(emptied);
  }
  return Open(path, FILE_APPEND_DATA | SYNCHRONIZE, OPEN_ALWAYS, _O_APPEND, error);
}

int WriteAll(int descriptor, const void* data, size_t size) {
  const HANDLE file = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
  constexpr size_t kMost = size_t{1} << 30;  // the system counts in 32 bits
  const char* bytes = static_cast<const char*>(data);
  while (size > 0) {
    DWORD written = 0;
    if (!WriteFile(file, bytes, static_cast<DWORD>(std::min(size, kMost)), &written, nullptr)) return LastError();
    bytes += written;
    size -= written;
  }
  return 0;
}

int CloseFile(int descriptor) {
  return _close(descriptor) == 0 ? 0 : errno;
}

int Replace(const fs::path& from, const fs::path& to) {
  return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) ? 0 : LastError();
}

bool Exchange(const fs::path&, const fs::path&) {
  return false;
}

void Remove(const wchar_t* path) {
  DeleteFileW(path);
}

int CanCreateIn(const fs::path& folder) {
  return _waccess(folder.c_str(), 2) == 0 ? 0 : errno;
}

bool IsAboutSpace(int error) {
  return error == ENOSPC;
}

unsigned long ProcessNumber() {
  return GetCurrentProcessId();
}

bool Matches(const std::string& pattern, std::vector<std::string>* names) {
  const fs::path whole = PathOf(pattern);
  std::vector<fs::path> found{whole.root_path()};
  for (const fs::path& part : whole.relative_path()) {
    const std::string text = NameOf(part);
    std::vector<fs::path> next;
    for (const fs::path& place : found) {
      if (text.find_first_of("*?[") != std::string::npos) {
        if (fs::is_directory(place.empty() ? "." : place) && !MatchesIn(place, text, &next)) return false;
      } else if (std::error_code error; fs::exists(place / part, error)) {
        next.push_back(place / part);
      }
    }
    found = std::move(next);
  }
  names->clear();
  for (const fs::path& path : found) names->push_back(NameOf(path));
  std::sort(names->begin(), names->end());
  return true;
}

}  // namespace qx::cli::platform
