#include "cli/page_folder.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string_view>
#include <utility>

#include "cli/wording.h"
#include "photo/base/text.h"

namespace qx::cli {
namespace fs = std::filesystem;
namespace {

constexpr size_t kMostFiles = 1000, kMostBytes = 64'000'000;

// The page says in itself what it may do, and no server can know; but no other page may show it within itself.
constexpr std::string_view kPolicy = "frame-ancestors 'none'";

constexpr std::pair<std::string_view, std::string_view> kTypes[] = {
    {".css", "text/css; charset=utf-8"},
    {".html", "text/html; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".json", "application/json"},
    {".md", "text/plain; charset=utf-8"},
    {".png", "image/png"},
    {".svg", "image/svg+xml"},
    {".wasm", "application/wasm"},
};

std::string_view TypeOf(const std::string& path) {
  const std::string ending = fs::path(path).extension();
  if (ending.empty()) return "text/plain; charset=utf-8";  // LICENSE and its like
  const auto* const found =
      std::find_if(std::begin(kTypes), std::end(kTypes), [&ending](const auto& type) { return type.first == ending; });
  return found == std::end(kTypes) ? "application/octet-stream" : found->second;
}

std::string TagOf(const std::string& bytes) {
  return '"' + photo::HashDigits(bytes) + "-" + std::to_string(bytes.size()) + '"';
}

[[noreturn]] void Fail(const fs::path& file, const std::string& why) {
  throw SetupFailure("--page: " + photo::Printable(file.native()) + ": " + why);
}

}  // namespace

PageFolder::PageFolder(const fs::path& folder) {
  std::error_code error;
  fs::recursive_directory_iterator entry(folder, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    const bool isHidden = entry->path().filename().native()[0] == '.';
    if (isHidden) entry.disable_recursion_pending();
    if (!isHidden && fs::is_regular_file(entry->symlink_status())) {
      Add(entry->path(), "/" + entry->path().lexically_relative(folder).generic_string());
    }
  }
  if (error) Fail(folder, "cannot be read (" + error.message() + ")");
  const auto isPage = [](const Entry& one) { return one.path == "/"; };
  if (!std::any_of(entries_.begin(), entries_.end(), isPage)) Fail(folder, "holds no index.html; name a page's folder");
}

void PageFolder::Add(const fs::path& file, const std::string& name) {
  std::ifstream stream(file, std::ios::binary | std::ios::ate);
  const auto size = static_cast<std::streamoff>(stream.tellg());
  if (!stream || size < 0) Fail(file, "cannot be read");
  bytes_ += static_cast<size_t>(size);
  if (entries_.size() >= kMostFiles || bytes_ > kMostBytes) {
    Fail(file.parent_path(), "holds more than a page does: 1000 files of 64 MB in all");
  }
  std::string bytes(static_cast<size_t>(size), '\0');
  stream.seekg(0);
  stream.read(bytes.data(), size);
  if (stream.gcount() != size) Fail(file, "cannot be read to its end");
  const std::string tag = TagOf(bytes);
  entries_.push_back({name == "/index.html" ? "/" : name, tag, std::move(bytes)});
}

std::vector<server::File> PageFolder::Files() const {
  std::vector<server::File> files;
  for (const Entry& entry : entries_) {
    const std::string_view type = entry.path == "/" ? "text/html; charset=utf-8" : TypeOf(entry.path);
    files.push_back({entry.path, type, entry.etag, entry.bytes, false, kPolicy});
  }
  return files;
}

}  // namespace qx::cli
