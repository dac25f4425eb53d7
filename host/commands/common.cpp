#include <CLI/CLI.hpp>
#include <filesystem>

#include "host/commands/commands.h"
#include "host/failure.h"
#include "host/image_file.h"
#include "host/output_file.h"
#include "host/text.h"

namespace qx::host {
namespace fs = std::filesystem;

ImageFormat CheckPictureName(const std::string& output, std::initializer_list<KeptFile> others) {
  const std::string name = Printable(output);
  const auto format = FormatOfName(output);
  if (!format) throw SetupFailure(name + ": unknown kind of picture; end the name in .png or .jpg");
  // One that is about to be written does not exist yet.
  const auto whole = [](const fs::path& path) { return fs::weakly_canonical(fs::absolute(path)); };
  for (const KeptFile& other : others) {
    if (other.path.empty()) continue;
    if (SameFile(output, other.path) || whole(output) == whole(other.path)) {
      throw SetupFailure(name + ": would replace the " + other.what + "; choose another name");
    }
  }
  const fs::path folder = fs::path(output).parent_path();
  CheckOutputFolder(folder.empty() ? "." : folder);
  return *format;
}

void AddCompareOption(CLI::App& command, std::string* file) {
  command.add_option("--compare", *file, "Also write the picture before and after retouching, side by side")
      ->type_name("FILE");
}

void AddMaxMegapixels(CLI::App& command, int64_t* maxPixels) {
  constexpr int64_t kMega = 1'000'000;
  command
      .add_option_function<int64_t>(
          "--max-megapixels", [maxPixels](int64_t value) { *maxPixels = value * kMega; },
          "Refuse larger photographs before decoding them (default " + std::to_string(kDefaultMaxPixels / kMega) +
              ", at most " + std::to_string(kHighestMaxPixels / kMega) + ")")
      ->type_name("N")
      ->check(CLI::Range(int64_t{1}, kHighestMaxPixels / kMega).description(""));
}

}  // namespace qx::host
