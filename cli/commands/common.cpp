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

}  // namespace qx::cli
