#include "worker/files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "worker/outcome.h"

namespace qx::worker {
namespace {

using photo::Failure;
using photo::FailureCode;

std::string Reason(int error) {
  return std::generic_category().message(error);
}

std::string LinkTo(const server::Descriptor& file) {
  return "/proc/self/fd/" + std::to_string(file.Number());
}

// The path of what is open, without links; none where the system does not tell.
std::optional<std::string> PathOf(const server::Descriptor& file) {
  std::array<char, PATH_MAX> path{};
  const ssize_t length = readlink(LinkTo(file).c_str(), path.data(), path.size());
  if (length <= 0 || static_cast<size_t>(length) >= path.size()) return std::nullopt;
  return std::string(path.data(), static_cast<size_t>(length));
}

// Without a look at the disk, for paths that lead nowhere: whether there is something outside is nobody's business.
bool LooksAllowed(const std::string& path, const Places& places) {
  const bool climbs = (path + "/").find("/../") != std::string::npos;
  return !climbs && places.HasPath(path);
}

[[noreturn]] void RefuseToRead() {
  throw Refusal(kNotAllowed, "lies in no folder that this worker may read");
}

[[noreturn]] void RefuseToWrite(const std::string& path) {
  throw Refusal(kNotAllowed, photo::Printable(path) + " lies in no folder that this worker may write to");
}

// What a file that is not there or not ours is to every worker; the rest passes.
[[noreturn]] void FailToRead(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR: throw Failure(FailureCode::kNoFile, "no such file; check the name");
    case ENXIO: throw Failure(FailureCode::kNoFile, "is not a file; name a photograph");
    case EACCES:
    case EPERM:
    case ELOOP:
    case ENAMETOOLONG:
      throw Failure(FailureCode::kCannotRead, "cannot be opened (" + Reason(error) + "); check its permissions");
    default: throw Trouble("cannot be read (" + Reason(error) + ")");
  }
}

[[noreturn]] void FailToWrite(const std::string& path, int error) {
  const std::string text = "cannot write " + photo::Printable(path) + " (" + Reason(error) + ")";
  if (error == EISDIR || error == ENAMETOOLONG || error == ENOTDIR) throw Refusal(kBadJob, text);
  throw Trouble(text);
}

photo::Bytes ReadAll(int descriptor, uint64_t size) {
  photo::Bytes bytes(size);
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count = read(descriptor, bytes.data() + done, bytes.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) FailToRead(errno);
    if (count == 0) break;
    done += static_cast<size_t>(count);
  }
  bytes.resize(done);
  return bytes;
}

void WriteAll(int descriptor, const photo::Bytes& bytes, const std::string& path) {
  for (size_t done = 0; done < bytes.size();) {
    const ssize_t count = write(descriptor, bytes.data() + done, bytes.size() - done);
    if (count < 0 && errno != EINTR) FailToWrite(path, errno);
    if (count > 0) done += static_cast<size_t>(count);
  }
}

std::string FormatOf(const std::string& name) {
  const size_t dot = name.rfind('.');
  std::string ending = dot == std::string::npos || dot == 0 ? "" : name.substr(dot + 1);
  for (char& c : ending) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  if (ending == "jpg" || ending == "jpeg") return "jpg";
  if (ending == "png") return "png";
  throw Refusal(kBadJob, "the output's name has to end in .jpg or .png");
}

// The temporary, for this worker alone: another one may be at the same job, if it was thought gone and is not. Of two
// that write into one file, one would give its name to what the other has not finished.
server::Descriptor OpenTemporary(int folder, const std::string& name, const std::string& path) {
  constexpr int kTurns = 50;
  constexpr std::chrono::milliseconds kTurn{200};
  for (int turn = 0; turn < kTurns; ++turn) {
    server::Descriptor file(
        openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
    if (file.Number() < 0) FailToWrite(path, errno);
    // File systems without locks leave it to the names, which differ but for such a pair.
    const bool isHeld = flock(file.Number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    struct stat mine = {}, there = {};
    if (fstat(file.Number(), &mine) != 0) FailToWrite(path, errno);
    const bool isThere = fstatat(folder, name.c_str(), &there, AT_SYMLINK_NOFOLLOW) == 0;
    // Else the one who held it has given it its name by now.
    const bool isSame = isThere && there.st_ino == mine.st_ino && there.st_dev == mine.st_dev;
    if (!isHeld && isSame) {
      // Somebody may have put another file of theirs there.
      if (!S_ISREG(mine.st_mode) || mine.st_nlink != 1) FailToWrite(path, EEXIST);
      if (ftruncate(file.Number(), 0) != 0) FailToWrite(path, errno);
      return file;
    }
    if (isHeld) std::this_thread::sleep_for(kTurn);
  }
  throw Trouble("another worker writes " + photo::Printable(path));
}

}  // namespace

ReadFile ReadPhotograph(const std::string& path, const Places& places, uint64_t mostBytes) {
  // Nothing happens to what is opened so, a device say, until it is known where it lies.
  const server::Descriptor found(open(path.c_str(), O_PATH | O_CLOEXEC));
  if (found.Number() < 0) {
    const int error = errno;
    if (!LooksAllowed(path, places)) RefuseToRead();
    FailToRead(error);
  }
  const auto real = PathOf(found);
  if (!real || !places.HasPath(*real)) RefuseToRead();
  struct stat status = {};
  if (fstat(found.Number(), &status) != 0) FailToRead(errno);
  if (S_ISDIR(status.st_mode)) throw Failure(FailureCode::kNoFile, "is a folder; name the photographs in it");
  if (!S_ISREG(status.st_mode)) throw Failure(FailureCode::kNoFile, "is not a file; name a photograph");
  const auto size = static_cast<uint64_t>(status.st_size);
  if (size > mostBytes) {
    throw Refusal(kFileTooLarge,
                  "the file is larger than " + std::to_string(mostBytes / 1'000'000) + " MB; make it smaller");
  }
  const server::Descriptor file(open(LinkTo(found).c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  if (file.Number() < 0) FailToRead(errno);
  return {ReadAll(file.Number(), size), {status.st_dev, status.st_ino}};
}

Destination::Destination(const std::string& path, const Places& places) : path_(path) {
  const size_t slash = path.rfind('/');
  name_ = path.substr(slash + 1);
  if (name_.empty() || name_ == "." || name_ == "..") throw Refusal(kBadJob, "the output names no file");
  format_ = FormatOf(name_);
  const std::string folder = path.substr(0, slash + 1);
  folder_ = server::Descriptor(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (folder_.Number() < 0) {
    const int error = errno;
    if (!LooksAllowed(folder, places)) RefuseToWrite(path);
    FailToWrite(path, error);
  }
  const auto real = PathOf(folder_);
  if (!real || !places.HasPath(*real)) RefuseToWrite(path);
}

bool Destination::Is(const FileIdentity& file) const {
  struct stat status = {};
  if (fstatat(folder_.Number(), name_.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return false;
  return FileIdentity{status.st_dev, status.st_ino} == file;
}

void Destination::Place(const photo::Bytes& bytes, const std::string& id) const {
  const int folder = folder_.Number();
  const std::string temporary = "." + id + ".part";
  // Renaming a file over a folder fails, but only once it is written.
  struct stat status = {};
  if (fstatat(folder, name_.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode)) {
    FailToWrite(path_, EISDIR);
  }
  const server::Descriptor file = OpenTemporary(folder, temporary, path_);
  try {
    WriteAll(file.Number(), bytes, path_);
    if (fsync(file.Number()) != 0) FailToWrite(path_, errno);
    if (renameat(folder, temporary.c_str(), folder, name_.c_str()) != 0) FailToWrite(path_, errno);
  } catch (...) {
    unlinkat(folder, temporary.c_str(), 0);
    throw;
  }
  const server::Descriptor readable(open(LinkTo(folder_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  // A folder may be writable and not readable, and not every file system knows how.
  const bool isKept = readable.Number() < 0 || fsync(readable.Number()) == 0 || errno == EINVAL || errno == ENOTSUP;
  if (!isKept) FailToWrite(path_, errno);
}

}  // namespace qx::worker
