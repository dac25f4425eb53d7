#include "cli/batch/output_names.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <numeric>
#include <set>
#include <string_view>
#include <system_error>

#include "cli/platform/file_name.h"
#include "cli/platform/files.h"
#include "cli/wording.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"

namespace qx::cli {
namespace fs = std::filesystem;
namespace {

bool HasPhotographEnding(const fs::path& path) {
  static const std::set<std::string> endings = {".jpg",  ".jpeg", ".png", ".webp", ".heic",
                                                ".heif", ".avif", ".tif", ".tiff"};
  std::string ending = NameOf(path.extension());
  for (char& c : ending) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return endings.count(ending) != 0;
}

std::vector<std::string> PhotographsIn(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator i(PathOf(folder), error), end; !error && i != end; i.increment(error)) {
    const bool hidden = NameOf(i->path().filename())[0] == '.';
    if (!hidden && HasPhotographEnding(i->path()) && !fs::is_directory(i->path())) names.push_back(NameOf(i->path()));
  }
  if (error)
    throw SetupFailure(photo::Printable(folder) + ": cannot be read (" + error.message() + "); check its permissions");
  if (names.empty()) {
    throw SetupFailure(photo::Printable(folder) +
                       ": no photographs in the folder (.jpg, .png, .webp, .heic, .avif, .tiff)");
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::vector<std::string> FilesMatching(const std::string& pattern) {
  std::vector<std::string> names;
  if (!platform::Matches(pattern, &names))
    throw SetupFailure(photo::Printable(pattern) + ": the folder cannot be read");
  names.erase(std::remove_if(names.begin(), names.end(),
                             [](const std::string& name) { return fs::is_directory(PathOf(name)); }),
              names.end());
  if (names.empty()) throw SetupFailure(photo::Printable(pattern) + ": no file matches; check the pattern");
  return names;
}

// A name for the place in the file system that writing to the path replaces.
fs::path Place(const fs::path& path) {
  std::error_code error;
  const fs::path folder = fs::canonical(path.has_parent_path() ? path.parent_path() : ".", error);
  return error ? path : folder / path.filename();
}

}  // namespace

std::vector<std::string> OutputStems(const std::vector<std::string>& photographs) {
  std::set<std::string> wanted, used;
  for (const std::string& photograph : photographs) wanted.insert(NameOf(PathOf(photograph).stem()));
  std::vector<std::string> stems;
  for (const std::string& photograph : photographs) {
    const std::string plain = NameOf(PathOf(photograph).stem());
    std::string stem = plain;
    // A number that another photograph has by nature is left to that one.
    for (int i = 2; used.count(stem) != 0 || (stem != plain && wanted.count(stem) != 0); ++i) {
      stem = plain + "-" + std::to_string(i);
    }
    used.insert(stem);
    stems.push_back(stem);
  }
  return stems;
}

std::vector<std::string> ExpandPhotographs(const std::vector<std::string>& arguments) {
  std::vector<std::string> photographs;
  std::set<fs::path> seen;
  for (const std::string& argument : arguments) {
    std::vector<std::string> names{argument};
    std::error_code error;  // a name too long to exist is left to whoever reads the photograph
    if (fs::is_directory(PathOf(argument), error)) {
      names = PhotographsIn(argument);
    } else if (argument.find_first_of("*?[") != std::string::npos && !fs::exists(PathOf(argument), error)) {
      names = FilesMatching(argument);
    }
    for (std::string& name : names) {
      if (seen.insert(PathOf(name).lexically_normal()).second) photographs.push_back(std::move(name));
    }
  }
  return photographs;
}

Shard ParseShard(const std::string& text) {
  constexpr size_t kMost = 1'000'000;
  const auto number = [](std::string_view digits) {
    size_t value = 0;
    const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return end.ec == std::errc() && end.ptr == digits.data() + digits.size() ? value : 0;
  };
  const size_t slash = std::min(text.find('/'), text.size());
  const std::string_view view(text);
  const Shard shard{number(view.substr(0, slash)), number(view.substr(std::min(slash + 1, text.size())))};
  if (shard.number < 1 || shard.number > shard.count || shard.count > kMost) {
    throw SetupFailure("--shard: \"" + photo::Printable(text) + "\" is no share; the third of ten is 3/10");
  }
  return shard;
}

std::vector<size_t> ItemsOf(const Shard& shard, const std::vector<std::string>& names) {
  std::vector<size_t> order(names.size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::sort(order.begin(), order.end(), [&](size_t a, size_t b) { return names[a] < names[b]; });
  std::vector<size_t> items;
  for (size_t i = shard.number - 1; i < order.size(); i += shard.count) items.push_back(order[i]);
  std::sort(items.begin(), items.end());
  return items;
}

void RefuseToReplace(const std::vector<std::string>& photographs, const std::vector<fs::path>& outputs) {
  std::set<fs::path> places;
  for (const std::string& photograph : photographs) places.insert(Place(PathOf(photograph)));
  for (const fs::path& output : outputs) {
    if (places.count(Place(output)) == 0) continue;
    throw SetupFailure(photo::Printable(NameOf(output)) +
                       ": would replace that photograph; choose another name or folder");
  }
}

}  // namespace qx::cli
