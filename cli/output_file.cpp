#include "cli/output_file.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>
#include <system_error>
#include <utility>

#include "cli/wording.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"

namespace qx::cli {
namespace fs = std::filesystem;
namespace {

// Names of the temporaries that exist now, in storage that a signal handler may read at any moment.
struct Slot {
  std::atomic<int> state{0};  // 0 free, 1 being filled, 2 valid
  char name[PATH_MAX];
};
Slot slots[16];
static_assert(std::atomic<int>::is_always_lock_free, "the signal handler reads the state");

int ClaimSlot(const fs::path& temporary) {
  const std::string& name = temporary.native();
  if (name.size() >= sizeof slots[0].name) return -1;
  for (int i = 0; i < static_cast<int>(std::size(slots)); ++i) {
    int expected = 0;
    if (!slots[i].state.compare_exchange_strong(expected, 1)) continue;
    std::memcpy(slots[i].name, name.c_str(), name.size() + 1);
    slots[i].state = 2;
    return i;
  }
  return -1;  // more files at once than slots: written all the same, only not cleaned up by a signal
}

void OnSignal(int number) {
  for (Slot& slot : slots) {
    if (slot.state == 2) unlink(slot.name);
  }
  // The handler is gone (SA_RESETHAND): the signal now ends the program as the caller expects.
  raise(number);
}

std::string Reason(int error) {
  return std::generic_category().message(error);
}

[[noreturn]] void FailToWrite(const fs::path& target, int error) {
  const char* advice = error == ENOSPC || error == EDQUOT ? "free some space"
                       : error == EISDIR                  ? "a folder has that name: choose another"
                                                          : "check the folder and its permissions";
  throw photo::Failure(photo::FailureCode::kCannotWrite,
                       "cannot write " + photo::Printable(target.native()) + " (" + Reason(error) + "); " + advice);
}

}  // namespace

OutputFile::OutputFile(fs::path target) : target_(std::move(target)) {
  static std::atomic<unsigned> counter{0};
  int error = EEXIST;
  while (descriptor_ < 0 && error == EEXIST) {
    temporary_ =
        target_.parent_path() / (".idphoto-" + std::to_string(getpid()) + "-" + std::to_string(counter++) + ".tmp");
    // Claimed before the file exists: a signal in between then removes nothing, and none is left behind.
    slot_ = ClaimSlot(temporary_);
    descriptor_ = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    error = errno;
    if (descriptor_ < 0 && slot_ >= 0) slots[slot_].state = 0;
  }
  if (descriptor_ < 0) FailToWrite(target_, error);
}

OutputFile::~OutputFile() {
  Discard();
}

void OutputFile::Discard() noexcept {
  if (descriptor_ >= 0) close(descriptor_);
  if (!temporary_.empty()) unlink(temporary_.c_str());
  if (slot_ >= 0) slots[slot_].state = 0;
  descriptor_ = slot_ = -1;
  temporary_.clear();
}

void OutputFile::Write(const void* data, size_t size) {
  const char* bytes = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t written = write(descriptor_, bytes, size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) FailToWrite(target_, errno);
    bytes += written;
    size -= static_cast<size_t>(written);
  }
}

void OutputFile::Commit() {
  CommitAll({this});
}

void OutputFile::CommitAll(std::initializer_list<OutputFile*> files) {
  for (OutputFile* file : files) file->Close();
  std::vector<OutputFile*> placed;
  placed.reserve(files.size());
  try {
    for (OutputFile* file : files) {
      file->Place(files.size() > 1);
      placed.push_back(file);
    }
  } catch (...) {
    for (OutputFile* file : placed) file->TakeBack();
    throw;
  }
  for (OutputFile* file : files) file->Discard();
}

void OutputFile::Close() {
  const int descriptor = std::exchange(descriptor_, -1);
  // Some file systems report a full disk only when the file is closed.
  if (close(descriptor) != 0) FailToWrite(target_, errno);
}

void OutputFile::Place(bool revocable) {
  std::error_code error;
  if (fs::is_directory(fs::symlink_status(target_, error))) FailToWrite(target_, EISDIR);
    // Fails where there is no file of that name yet.
#ifdef RENAME_EXCHANGE
  replaced_ = revocable && renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, target_.c_str(), RENAME_EXCHANGE) == 0;
#endif
  if (replaced_) return;
  if (rename(temporary_.c_str(), target_.c_str()) != 0) FailToWrite(target_, errno);
  temporary_.clear();
}

void OutputFile::TakeBack() noexcept {
  if (replaced_) {
    rename(temporary_.c_str(), target_.c_str());
    temporary_.clear();
  } else {
    unlink(target_.c_str());
  }
}

void WriteFile(const fs::path& target, const std::vector<uint8_t>& bytes) {
  OutputFile file(target);
  file.Write(bytes.data(), bytes.size());
  file.Commit();
}

void RemoveTemporariesOnSignals() {
  struct sigaction action = {};
  action.sa_handler = OnSignal;
  action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_NODEFER;
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction old = {};
    // A caller that has these signals ignored (nohup, a background job) keeps it that way.
    if (sigaction(number, nullptr, &old) == 0 && old.sa_handler != SIG_IGN) sigaction(number, &action, nullptr);
  }
}

void CheckOutputFolder(const fs::path& folder) {
  std::error_code error;
  const fs::file_status status = fs::status(folder, error);
  const std::string name = photo::Printable(folder.native());
  if (fs::exists(status) && !fs::is_directory(status)) {
    throw SetupFailure(name + ": is not a folder; name a folder for the output");
  }
  if (!fs::exists(status)) throw SetupFailure(name + ": no such folder; create it or choose another");
  if (access(folder.c_str(), W_OK | X_OK) != 0) {
    throw SetupFailure(name + ": cannot write into the folder (" + Reason(errno) +
                       "); choose another or change its permissions");
  }
}

void PrepareOutputFolder(const fs::path& folder) {
  std::error_code error;
  if (!fs::exists(folder, error) && !fs::create_directories(folder, error) && error) {
    throw SetupFailure(photo::Printable(folder.native()) + ": cannot create the folder (" + error.message() +
                       "); choose another or check the permissions above it");
  }
  CheckOutputFolder(folder);
}

bool SameFile(const fs::path& one, const fs::path& other) {
  std::error_code error;
  return fs::equivalent(one, other, error) && !error;
}

}  // namespace qx::cli
