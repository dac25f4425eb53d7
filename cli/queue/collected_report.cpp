#include "cli/queue/collected_report.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <nlohmann/json.hpp>
#include <system_error>
#include <utility>

#include "cli/wording.h"
#include "photo/base/text.h"

namespace qx::cli {
namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
namespace {

[[noreturn]] void Fail(const fs::path& file, const std::string& what, int error) {
  throw SetupFailure(photo::Printable(file.native()) + ": cannot " + what + " the report (" +
                     std::generic_category().message(error) + "); check the folder, its permissions and the disk");
}

// Up to behind the last end of a line.
off_t FinishedLength(int descriptor, const fs::path& file) {
  constexpr off_t kStep = 1 << 16;
  off_t end = lseek(descriptor, 0, SEEK_END);
  if (end < 0) Fail(file, "read", errno);
  std::string part;
  while (end > 0) {
    const off_t from = std::max<off_t>(0, end - kStep);
    part.resize(static_cast<size_t>(end - from));
    if (pread(descriptor, part.data(), part.size(), from) != end - from) Fail(file, "read", errno);
    const size_t last = part.rfind('\n');
    if (last != std::string::npos) return from + static_cast<off_t>(last) + 1;
    end = from;
  }
  return 0;
}

void WriteAll(int descriptor, const std::string& text, const fs::path& file) {
  for (size_t from = 0; from < text.size();) {
    const ssize_t written = write(descriptor, text.data() + from, text.size() - from);
    if (written < 0 && errno != EINTR) Fail(file, "write", errno);
    if (written > 0) from += static_cast<size_t>(written);
  }
}

}  // namespace

CollectedReport::CollectedReport(fs::path file) : file_(std::move(file)) {
  descriptor_ = open(file_.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  if (descriptor_ < 0) Fail(file_, "write", errno);
  try {
    if (flock(descriptor_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
      throw SetupFailure(photo::Printable(file_.native()) + ": another program gathers into this report; name another");
    }
    ReadLines();
    // Only once it is known for a report: nothing else loses its end.
    if (ftruncate(descriptor_, FinishedLength(descriptor_, file_)) != 0) Fail(file_, "write", errno);
  } catch (...) {
    close(descriptor_);
    throw;
  }
}

CollectedReport::~CollectedReport() {
  close(descriptor_);
}

void CollectedReport::ReadLines() {
  ReadReport(file_, [this](const ReportLine& line) { Note(line.text); });
}

// False when it is nothing new.
bool CollectedReport::Note(const std::string& line) {
  Json json = Json::parse(line);
  const std::pair<std::string, std::string> key{json.at("input"), json.at("output")};
  json.erase("seconds");
  const size_t number = std::hash<std::string>()(json.dump());
  const auto [place, isNew] = last_.try_emplace(key, number);
  return isNew || std::exchange(place->second, number) != number;
}

bool CollectedReport::Add(const BatchItem& item, const BatchOutcome& outcome, const std::string& options) {
  const std::string text = ReportLineText(item, outcome, options);
  if (!Note(text)) return false;
  WriteAll(descriptor_, text, file_);
  if (fsync(descriptor_) != 0 && errno != EINVAL && errno != ENOTSUP) Fail(file_, "write", errno);
  return true;
}

}  // namespace qx::cli
