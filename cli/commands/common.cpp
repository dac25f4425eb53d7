#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>

#include "cli/commands/commands.h"
#include "cli/output_file.h"
#include "cli/wording.h"
#include "codec/codec.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"

namespace qx::cli {
namespace fs = std::filesystem;

codec::ImageFormat CheckPictureName(const std::string& output, std::initializer_list<KeptFile> others) {
  const std::string name = photo::Printable(output);
  const auto format = codec::FormatOfName(output);
  if (!format) throw SetupFailure(name + ": unknown kind of picture; end the name in .png or .jpg");
  for (const KeptFile& other : others) {
    if (!other.path.empty() && SameFile(output, other.path)) {
      throw SetupFailure(name + ": would replace the " + other.what + "; choose another name");
    }
  }
  const fs::path folder = fs::path(output).parent_path();
  CheckOutputFolder(folder.empty() ? "." : folder);
  return *format;
}

void RunOnPhotograph(const std::string& photograph, int* status, const std::function<void()>& work) {
  try {
    work();
  } catch (const SetupFailure&) {
    throw;
  } catch (const std::exception& exception) {
    std::fflush(stdout);  // so that the reason comes last where both lead to one place
    std::fprintf(stderr, "idphoto: %s: %s\n", photo::Printable(photograph).c_str(), Wording(exception).c_str());
    *status = kSomeFailed;
  }
}

void AddPersonOption(CLI::App& command, std::optional<int>* person, const std::string& help) {
  command.add_option("--person", *person, help)->type_name("N")->check(CLI::Range(1, INT32_MAX).description(""));
}

photo::AnalyseRequest FacesOf(const std::optional<int>& person, bool pair) {
  if (pair && person) throw SetupFailure("--pair takes two faces, --person one; leave one of them out");
  return {person, pair};
}

void AddKeepRimFlag(CLI::App& command, bool* keepRim) {
  command.add_flag("--keep-rim", *keepRim, "Leave the old surroundings' light on the rim of hair and shoulders");
}

void AddFormatOption(CLI::App& command, codec::ImageFormat* format, const std::string& help) {
  command
      .add_option_function<std::string>(
          "--format",
          [format](const std::string& name) {
            *format = name == "png" ? codec::ImageFormat::kPng : codec::ImageFormat::kJpeg;
          },
          help)
      ->type_name("FORMAT")
      ->transform(CLI::IsMember({"png", "jpg"}, CLI::ignore_case).description("png|jpg"));
}

void AddCompareFlag(CLI::App& command, bool* compare) {
  command.add_flag("--compare", *compare, "Also write OUT-compare: before and after retouching, side by side");
}

std::string CompareName(const std::string& output) {
  fs::path name(output);
  name.replace_filename(name.stem().native() + "-compare" + name.extension().native());
  return name.native();
}

void WriteWithComparison(const std::string& output, const std::vector<uint8_t>& bytes,
                         const std::vector<uint8_t>& comparison) {
  OutputFile file(output);
  file.Write(bytes.data(), bytes.size());
  if (comparison.empty()) return file.Commit();
  OutputFile other(CompareName(output));
  other.Write(comparison.data(), comparison.size());
  OutputFile::CommitAll({&file, &other});
}

void AddMaxMegapixels(CLI::App& command, int64_t* maxPixels) {
  constexpr int64_t kMega = 1'000'000;
  command
      .add_option_function<int64_t>(
          "--max-megapixels", [maxPixels](int64_t value) { *maxPixels = value * kMega; },
          "Refuse larger photographs before decoding them (default " +
              std::to_string(codec::kDefaultMaxPixels / kMega) + ", at most " +
              std::to_string(codec::kHighestMaxPixels / kMega) + ")")
      ->type_name("N")
      ->check(CLI::Range(int64_t{1}, codec::kHighestMaxPixels / kMega).description(""));
}

}  // namespace qx::cli
