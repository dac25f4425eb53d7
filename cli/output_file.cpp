#include "cli/output_file.h"
#include "cli/platform/file_name.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

#include "cli/platform/files.h"
#include "cli/platform/process.h"
#include "cli/wording.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"

namespace qx::cli {
namespace fs = std::filesystem;
namespace {

// Names of the temporaries that exist now, in storage that a signal handler may read at any moment.
struct Slot {
  static constexpr size_t kLongest = 4096;
  std::atomic<int> state{0};  // 0 free, 1 being filled, 2 valid
  fs::path::value_type name[kLongest];
};
Slot slots[16];
static_assert(std::atomic<int>::is_always_lock_free, "the signal handler reads the state");

int ClaimSlot(const fs::path& temporary) {
  const fs::path::string_type& name = temporary.native();
  if (name.size() >= Slot::kLongest) return -1;
  for (int i = 0; i < static_cast<int>(std::size(slots)); ++i) {
    int expected = 0;
    if (!slots[i].state.compare_exchange_strong(expected, 1)) continue;
    std::copy_n(name.c_str(), name.size() + 1, slots[i].name);
    slots[i].state = 2;
    return i;
  }
  return -1;  // more files at once than slots: written all the same, only not cleaned up by a signal
}

void RemoveTemporaries() {
  for (const Slot& slot : slots) {
    if (slot.state == 2) platform::Remove(slot.name);
  }
}

std::string Reason(int error) {
  return std::generic_category().message(error);
}

[[noreturn]] void FailToWrite(const fs::path& target, int error) {
  const char* advice = platform::IsAboutSpace(error) ? "free some space"
                       : error == EISDIR             ? "a folder has that name: choose another"
                                                     : "check the folder and its permissions";
  throw photo::Failure(photo::FailureCode::kCannotWrite,
                       "cannot write " + photo::Printable(NameOf(target)) + " (" + Reason(error) + "); " + advice);
}

}  // namespace

OutputFile::OutputFile(fs::path target) : target_(std::move(target)) {
  static std::atomic<unsigned> counter{0};
  int error = EEXIST;
  while (descriptor_ < 0 && error == EEXIST) {
    temporary_ = target_.parent_path() /
                 (".idphoto-" + std::to_string(platform::ProcessNumber()) + "-" + std::to_string(counter++) + ".tmp");
    // Claimed before the file exists: a signal in between then removes nothing, and none is left behind.
    slot_ = ClaimSlot(temporary_);
    descriptor_ = platform::CreateNewFile(temporary_, &error);
    if (descriptor_ < 0 && slot_ >= 0) slots[slot_].state = 0;
  }
  if (descriptor_ < 0) FailToWrite(target_, error);
}

OutputFile::~OutputFile() {
  Discard();
}

void OutputFile::Discard() noexcept {
  if (descriptor_ >= 0) platform::CloseFile(descriptor_);
  if (!temporary_.empty()) platform::Remove(temporary_.c_str());
  if (slot_ >= 0) slots[slot_].state = 0;
  descriptor_ = slot_ = -1;
  temporary_.clear();
}

void OutputFile::Write(const void* data, size_t size) {
  if (const int error = platform::WriteAll(descriptor_, data, size); error != 0) FailToWrite(target_, error);
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
  if (const int error = platform::CloseFile(descriptor); error != 0) FailToWrite(target_, error);
}

void OutputFile::Place(bool revocable) {
  std::error_code error;
  if (fs::is_directory(fs::symlink_status(target_, error))) FailToWrite(target_, EISDIR);
  // Fails where there is no file of that name yet.
  replaced_ = revocable && platform::Exchange(temporary_, target_);
  if (replaced_) return;
  if (const int failed = platform::Replace(temporary_, target_); failed != 0) FailToWrite(target_, failed);
  temporary_.clear();
}

void OutputFile::TakeBack() noexcept {
  if (replaced_) {
    platform::Replace(temporary_, target_);
    temporary_.clear();
  } else {
    platform::Remove(target_.c_str());
  }
}

void WriteFile(const fs::path& target, const std::vector<uint8_t>& bytes) {
  OutputFile file(target);
  file.Write(bytes.data(), bytes.size());
  file.Commit();
}

void RemoveTemporariesOnSignals() {
  platform::RunBeforeInterruptEnds(RemoveTemporaries);
}

void CheckOutputFolder(const fs::path& folder) {
  std::error_code error;
  const fs::file_status status = fs::status(folder, error);
  const std::string name = photo::Printable(NameOf(folder));
  if (fs::exists(status) && !fs::is_directory(status)) {
    throw SetupFailure(name + ": is not a folder; name a folder for the output");
  }
  if (!fs::exists(status)) throw SetupFailure(name + ": no such folder; create it or choose another");
  if (const int failed = platform::CanCreateIn(folder); failed != 0) {
    throw SetupFailure(name + ": cannot write into the folder (" + Reason(failed) +
                       "); choose another or change its permissions");
  }
}

void PrepareOutputFolder(const fs::path& folder) {
  std::error_code error;
  if (!fs::exists(folder, error) && !fs::create_directories(folder, error) && error) {
    throw SetupFailure(photo::Printable(NameOf(folder)) + ": cannot create the folder (" + error.message() +
                       "); choose another or check the permissions above it");
  }
  CheckOutputFolder(folder);
}

bool SameFile(const fs::path& one, const fs::path& other) {
  std::error_code error;
  return fs::equivalent(one, other, error) && !error;
}

}  // namespace qx::cli
