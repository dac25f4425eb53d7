#include "cli/batch/report.h"

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>

#include "cli/output_file.h"
#include "cli/platform/file_name.h"
#include "cli/platform/files.h"
#include "cli/wording.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"

namespace qx::cli {
namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
namespace {

// JSON is UTF-8. A name that is not stays recognisable, and differs from every other name of the run.
std::string JsonName(const fs::path& path) {
  const std::string name = NameOf(path);
  try {
    [[maybe_unused]] const std::string text = Json(name).dump();
    return name;
  } catch (const Json::exception&) {
    return photo::Printable(name);
  }
}

// To four decimals; a count stays one.
Json Number(double value) {
  const double rounded = std::round(value * 1e4) / 1e4;
  constexpr double kLargestCount = 1e15;
  if (rounded == std::floor(rounded) && std::abs(rounded) < kLargestCount) return static_cast<int64_t>(rounded);
  return rounded;
}

[[noreturn]] void Fail(const fs::path& file, const char* what, int error) {
  throw SetupFailure(photo::Printable(NameOf(file)) + ": cannot " + what + " the report (" +
                     std::generic_category().message(error) + "); check the folder, its permissions and the disk");
}

ReportLine Parsed(const std::string& text) {
  const Json line = Json::parse(text);
  const std::string status = line.at("status");
  return {text,
          line.at("input"),
          line.at("output"),
          status == "done",
          line.value("reasons", std::vector<std::string>()),
          line.at("options")};
}

}  // namespace

void ReadReport(const fs::path& name, const std::function<void(ReportLine)>& take) {
  std::ifstream file(name, std::ios::binary);
  if (!file) Fail(name, "read", errno);
  for (std::string text; std::getline(file, text);) {
    if (file.eof()) break;
    try {
      take(Parsed(text));
    } catch (const Json::exception&) {
      throw SetupFailure(photo::Printable(NameOf(name)) + ": is not a report of an earlier run; name another file");
    }
  }
  if (file.bad()) Fail(name, "read", EIO);
}

BatchReport::BatchReport(fs::path file, std::string options, bool resume)
    : file_(std::move(file)), options_(std::move(options)) {
  if (resume) Read();
  Open(!resume);
}

BatchReport::~BatchReport() {
  Close();
}

void BatchReport::Read() {
  std::error_code error;
  if (!fs::exists(file_, error)) return;
  ReadReport(file_, [this](ReportLine line) {
    line.done = line.done && line.options == options_;
    const Key key{line.input, line.output};
    lines_[key] = std::move(line);
  });
}

void BatchReport::Close() {
  if (descriptor_ >= 0) platform::CloseFile(descriptor_);
  descriptor_ = -1;
}

void BatchReport::Open(bool truncate) {
  int error = 0;
  descriptor_ = platform::OpenToAppend(file_, truncate, &error);
  if (descriptor_ < 0) Fail(file_, "write", error);
}

bool BatchReport::IsDone(const BatchItem& item) const {
  const auto line = lines_.find({JsonName(item.input), JsonName(item.output)});
  if (line == lines_.end() || !line->second.done) return false;
  std::error_code error;
  const auto made = fs::last_write_time(item.output, error);
  if (error) return false;
  const auto taken = fs::last_write_time(item.input, error);
  return !error && taken <= made;
}

std::vector<std::string> BatchReport::ReasonsOf(const BatchItem& item) const {
  const auto line = lines_.find({JsonName(item.input), JsonName(item.output)});
  return line == lines_.end() ? std::vector<std::string>() : line->second.reasons;
}

void BatchReport::Forget(const std::vector<BatchItem>& items) {
  for (const BatchItem& item : items) lines_.erase({JsonName(item.input), JsonName(item.output)});
  Close();  // not everywhere can a file that is open be replaced
  try {
    OutputFile file(file_);
    for (const auto& [key, line] : lines_) file.Write((line.text + "\n").data(), line.text.size() + 1);
    file.Commit();
  } catch (const photo::Failure& failure) {
    throw SetupFailure(Wording(failure));
  }
  Open(false);
}

std::string ReportLineText(const BatchItem& item, const BatchOutcome& outcome, const std::string& options) {
  Json measures = Json::object();
  for (const auto& [name, value] : outcome.measures) measures[name] = Number(value);
  const Json line = {{"input", JsonName(item.input)},
                     {"output", JsonName(item.output)},
                     {"status", outcome.done ? "done" : "failed"},
                     {"message", outcome.message},
                     {"reasons", outcome.reasons},
                     {"measures", measures},
                     {"seconds", Number(outcome.seconds)},
                     {"options", options}};
  return line.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

void BatchReport::Append(const BatchItem& item, const BatchOutcome& outcome) {
  const std::string text = ReportLineText(item, outcome, options_);
  const int error = platform::WriteAll(descriptor_, text.data(), text.size());
  if (error != 0) Fail(file_, "write", error);
}

}  // namespace qx::cli
