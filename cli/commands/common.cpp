#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>

#include "cli/commands/commands.h"
#include "cli/output_file.h"
#include "cli/platform/file_name.h"
#include "cli/wording.h"
#include "codec/codec.h"
#include "orders/options/common_options.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"

namespace qx::cli {
namespace fs = std::filesystem;

codec::ImageFormat CheckPictureName(const std::string& output, std::initializer_list<KeptFile> others) {
  const std::string name = photo::Printable(output);
  const auto format = codec::FormatOfName(PathOf(output));
  if (!format) throw SetupFailure(name + ": unknown kind of picture; end the name in .png or .jpg");
  for (const KeptFile& other : others) {
    if (!other.path.empty() && SameFile(PathOf(output), PathOf(other.path))) {
      throw SetupFailure(name + ": would replace the " + other.what + "; choose another name");
    }
  }
  const fs::path folder = PathOf(output).parent_path();
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

void AddPictureOptions(CLI::App& command, orders::Order* order, PictureFiles* files) {
  command.add_option("PHOTO", files->photograph, "JPEG, PNG, WebP, HEIF or TIFF file")->type_name("")->required();
  command.add_option("-o,--output", files->output, "The .jpg or .png file to write")->type_name("OUT")->required();
  order->AddOptions(command);
  CLI::Option* quiet = command.add_flag("--quiet", files->quiet, "Print nothing when all went well");
  command.add_flag("--json", files->json, "Print the report as one JSON object")->excludes(quiet);
  orders::AddMaxMegapixels(command, &order->limits.pixels);
}

void WritePicture(const PictureFiles& files, const std::vector<uint8_t>& bytes, const std::string& facts,
                  const std::vector<std::string>& remarks, const std::string& report) {
  WriteFile(PathOf(files.output), bytes);
  if (files.quiet) return;
  if (files.json) {
    std::printf("%s\n", report.c_str());
    return;
  }
  std::printf("%s: %s, %s\n", photo::Printable(files.photograph).c_str(), photo::Printable(files.output).c_str(),
              facts.c_str());
  for (const std::string& remark : remarks) std::printf("  %s\n", remark.c_str());
}

std::string CompareName(const std::string& output) {
  fs::path name = PathOf(output);
  name.replace_filename(PathOf(NameOf(name.stem()) + "-compare" + NameOf(name.extension())));
  return NameOf(name);
}

void WriteWithComparison(const std::string& output, const std::vector<uint8_t>& bytes,
                         const std::vector<uint8_t>& comparison) {
  OutputFile file(PathOf(output));
  file.Write(bytes.data(), bytes.size());
  if (comparison.empty()) return file.Commit();
  OutputFile other(PathOf(CompareName(output)));
  other.Write(comparison.data(), comparison.size());
  OutputFile::CommitAll({&file, &other});
}

}  // namespace qx::cli
