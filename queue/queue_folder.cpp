#include "queue/queue_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <system_error>
#include <utility>

#include "photo/base/text.h"
#include "queue/job_source.h"
#include "queue/message.h"

namespace qx::queue {
namespace fs = std::filesystem;
namespace {

// Of tries, in a name that somebody made up.
constexpr int kMostCount = 1000;
constexpr char kVersionFile[] = "idphoto-queue", kVersion[] = "1\n";

class Descriptor {
 public:
  Descriptor(const fs::path& file, int flags) : number_(open(file.c_str(), flags | O_CLOEXEC, 0666)) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Number() const { return number_; }
  // Some file systems only say then that the disk was full.
  bool Close() { return close(std::exchange(number_, -1)) == 0; }

 private:
  int number_;
};

template <typename Number>
bool IsNumber(std::string_view digits, Number* number) {
  const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), *number);
  return end.ec == std::errc() && end.ptr == digits.data() + digits.size();
}

// -1 at an error.
ssize_t ReadAll(int descriptor, char* to, size_t size) {
  size_t got = 0;
  while (got < size) {
    const ssize_t part = read(descriptor, to + got, size - got);
    if (part < 0 && errno == EINTR) continue;
    if (part < 0) return -1;
    if (part == 0) break;
    got += static_cast<size_t>(part);
  }
  return static_cast<ssize_t>(got);
}

bool WriteAll(int descriptor, const std::string& text) {
  for (size_t done = 0; done < text.size();) {
    const ssize_t part = write(descriptor, text.data() + done, text.size() - done);
    if (part < 0 && errno != EINTR) return false;
    if (part > 0) done += static_cast<size_t>(part);
  }
  return true;
}

}  // namespace

std::string JobName::Text() const {
  return id + "." + std::to_string(tries) + (owner ? "." + owner->Text() + "." + std::to_string(number) : "") + ".json";
}

std::optional<JobName> JobName::Parse(std::string_view name) {
  constexpr std::string_view kEnding = ".json";
  if (name.size() < kEnding.size() || name.substr(name.size() - kEnding.size()) != kEnding) return std::nullopt;
  name.remove_suffix(kEnding.size());
  const size_t dot = name.find('.');
  if (dot == std::string_view::npos || !IsJobId(name.substr(0, dot))) return std::nullopt;
  JobName job{std::string(name.substr(0, dot)), 0, std::nullopt, 0};
  const std::string_view rest = name.substr(dot + 1), digits = rest.substr(0, rest.find('.'));
  if (!IsNumber(digits, &job.tries) || job.tries < 0 || job.tries > kMostCount) return std::nullopt;
  if (digits.size() == rest.size()) return job;
  const size_t last = rest.rfind('.');
  if (!IsNumber(rest.substr(last + 1), &job.number) || last == digits.size()) return std::nullopt;
  job.owner = Owner::Parse(rest.substr(digits.size() + 1, last - digits.size() - 1));
  return job.owner ? std::optional(job) : std::nullopt;
}

QueueFolder::QueueFolder(fs::path path, std::function<void()> step) : path_(std::move(path)), step_(std::move(step)) {
  std::error_code error;
  for (const char* folder : {kJobs, kClaims, kAnswers, kDead, kTemporary}) {
    fs::create_directories(path_ / folder, error);
    if (error) Fail("create", path_ / folder, error.value());
  }
  CheckVersion();
}

void QueueFolder::CheckVersion() {
  const auto version = Read(".", kVersionFile, sizeof kVersion);
  if (!version) {
    Write(".", kVersionFile, kVersion, Owner::Self());
  } else if (*version != kVersion) {
    throw SourceFailure(photo::Printable(path_.native()) + ": is the queue of another version of this program");
  }
}

void QueueFolder::Fail(const std::string& what, const fs::path& file, int error) const {
  throw SourceFailure(photo::Printable(file.native()) + ": cannot " + what + " it (" +
                      std::generic_category().message(error) + ")");
}

void QueueFolder::Step() const {
  if (step_) step_();
}

std::vector<std::string> QueueFolder::Names(const char* folder) const {
  std::vector<std::string> names;
  std::error_code error;
  fs::directory_iterator entry(path_ / folder, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    std::string name = entry->path().filename().native();
    std::error_code gone;
    const bool isFile = fs::is_regular_file(entry->symlink_status(gone));
    if (isFile && name[0] != '.') names.push_back(std::move(name));
  }
  if (error) Fail("read", path_ / folder, error.value());
  std::sort(names.begin(), names.end());
  return names;
}

bool QueueFolder::Has(const char* folder, const std::string& name) const {
  struct stat status {};
  return stat(At(folder, name).c_str(), &status) == 0;
}

std::optional<std::string> QueueFolder::Read(const char* folder, const std::string& name, size_t most) const {
  const fs::path file = At(folder, name);
  // Whoever may write into the folder could put a pipe there, which would never answer.
  const Descriptor descriptor(file, O_RDONLY | O_NONBLOCK);
  if (descriptor.Number() < 0 && errno == ENOENT) return std::nullopt;
  std::string text(most + 1, '\0');
  const ssize_t size = descriptor.Number() < 0 ? -1 : ReadAll(descriptor.Number(), text.data(), text.size());
  if (size < 0) Fail("read", file, errno);
  text.resize(static_cast<size_t>(size));
  return text;
}

void QueueFolder::WriteTemporary(const fs::path& file, const std::string& text) const {
  Descriptor descriptor(file, O_WRONLY | O_CREAT | O_TRUNC);
  if (descriptor.Number() < 0) Fail("write", file, errno);
  Step();
  if (WriteAll(descriptor.Number(), text) && fsync(descriptor.Number()) == 0 && descriptor.Close()) return;
  const int error = errno;
  unlink(file.c_str());
  Fail("write", file, error);
}

void QueueFolder::SyncFolder(const fs::path& folder) const {
  const Descriptor descriptor(folder, O_RDONLY | O_DIRECTORY);
  // Not every file system knows how; those that do not have no other way either.
  if (descriptor.Number() < 0 || (fsync(descriptor.Number()) != 0 && errno != EINVAL && errno != ENOTSUP)) {
    Fail("write", folder, errno);
  }
}

void QueueFolder::Write(const char* folder, const std::string& name, const std::string& text,
                        const Owner& writer) const {
  static std::atomic<unsigned> count{0};  // threads may write about one job
  const std::string stem = name.substr(0, name.find('.')) + "-" + std::to_string(++count);
  const fs::path temporary = At(kTemporary, stem + "." + writer.Text());
  WriteTemporary(temporary, text);
  Step();
  if (rename(temporary.c_str(), At(folder, name).c_str()) != 0) {
    const int error = errno;
    unlink(temporary.c_str());
    Fail("write", At(folder, name), error);
  }
  Step();
  SyncFolder(path_ / folder);
}

bool QueueFolder::Move(const char* from, const std::string& name, const char* to, const std::string& newName) const {
  Step();
  const fs::path target = At(to, newName);
  if (rename(At(from, name).c_str(), target.c_str()) == 0) {
    Step();
    return true;
  }
  if (errno != ENOENT) Fail("rename", At(from, name), errno);
  // A server of files may do it, lose its answer, be asked again and find nothing. Only claims have names of one's own.
  return to == std::string_view(kClaims) && Has(to, newName);
}

void QueueFolder::Remove(const char* folder, const std::string& name) const {
  Step();
  if (unlink(At(folder, name).c_str()) != 0 && errno != ENOENT) Fail("remove", At(folder, name), errno);
}

void QueueFolder::Touch(const char* folder, const std::string& name) const {
  if (utimensat(AT_FDCWD, At(folder, name).c_str(), nullptr, 0) != 0 && errno != ENOENT) {
    Fail("touch", At(folder, name), errno);
  }
}

std::optional<fs::file_time_type> QueueFolder::TimeOf(const char* folder, const std::string& name) const {
  std::error_code error;
  const auto time = fs::last_write_time(At(folder, name), error);
  return error ? std::nullopt : std::optional(time);
}

}  // namespace qx::queue
