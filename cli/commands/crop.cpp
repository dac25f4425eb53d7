#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "cli/batch/output_names.h"
#include "cli/commands/commands.h"
#include "cli/output_file.h"
#include "cli/platform/file_name.h"
#include "cli/progress.h"
#include "cli/wording.h"
#include "codec/codec.h"
#include "orders/crop.h"
#include "orders/options/common_options.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/studio.h"

namespace qx::cli {
namespace fs = std::filesystem;
namespace {

struct CropOptions {
  std::vector<std::string> photographs;
  std::string folder;
  orders::CropOrder order;
};

class CropRun {
 public:
  explicit CropRun(const CropOptions& options) : options_(options) {}

  // Returns the names of the files written.
  std::vector<fs::path> CropOne(const std::string& photograph, const std::string& stem) {
    const std::vector<photo::Image> crops =
        studio_.Crop(codec::ReadImage(PathOf(photograph), options_.order.limits), options_.order.settings);
    std::vector<fs::path> written;
    for (size_t i = 0; i < crops.size(); ++i) {
      const fs::path target = PathOf(options_.folder) / PathOf(options_.order.FileName(stem, i + 1));
      for (const std::string& input : options_.photographs) {
        if (SameFile(target, PathOf(input))) {
          throw photo::Failure(
              photo::FailureCode::kCannotWrite,
              "its crop would replace the photograph " + photo::Printable(NameOf(target)) + "; choose another folder");
        }
      }
      WriteFile(target, codec::EncodeImage(crops[i], options_.order.format));
      written.push_back(target);
    }
    return written;
  }

 private:
  const CropOptions& options_;
  photo::Studio studio_;
};

int RunCrop(const CropOptions& options) {
  PrepareOutputFolder(PathOf(options.folder));
  const std::vector<std::string> stems = OutputStems(options.photographs);
  CropRun run(options);
  Progress progress(options.photographs.size());
  size_t failed = 0, crops = 0;
  for (size_t i = 0; i < options.photographs.size(); ++i) {
    const std::string name = photo::Printable(options.photographs[i]);
    progress.Begin(i, name);
    try {
      const std::vector<fs::path> written = run.CropOne(options.photographs[i], stems[i]);
      std::string line = name + ": " + photo::Count(written.size(), "face") + ":";
      for (const fs::path& file : written) line += " " + photo::Printable(NameOf(file));
      progress.Outcome(line);
      crops += written.size();
    } catch (const std::exception& exception) {
      progress.Error(name + ": " + Wording(exception));
      ++failed;
    }
  }
  std::string summary = photo::Count(options.photographs.size() - failed, "photograph") + ", " +
                        photo::Count(crops, "crop") + " in " + photo::Printable(options.folder);
  if (failed > 0) summary += "; " + std::to_string(failed) + " failed";
  progress.Summary(summary);
  return failed == 0 ? kDone : kSomeFailed;
}

}  // namespace

void AddCropCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<CropOptions>();
  CLI::App* command = app.add_subcommand("crop", "Cut an upright, framed picture of every face out of photographs");
  command->add_option("PHOTO", options->photographs, "JPEG, PNG, WebP, HEIF or TIFF files")->type_name("")->required();
  command->add_option("-o,--output", options->folder, "Folder for the pictures; created if missing")
      ->type_name("DIR")
      ->required();
  options->order.AddOptions(*command);
  orders::AddMaxMegapixels(*command, &options->order.limits.pixels);
  command->footer(
      "The pictures are DIR/NAME_face1.png, DIR/NAME_face2.png and so on, best face first; existing files of these\n"
      "names are replaced, the photographs never. Photographs of the same name from different folders become NAME,\n"
      "NAME-2, NAME-3. Places outside the photograph are white.\n\n"
      "Exit status: 0 all done, 1 some photograph failed (its reason is on standard error), 2 nothing was tried.\n\n"
      "Examples:\n"
      "  idphoto crop holiday.jpg -o faces\n"
      "  idphoto crop *.jpg -o faces --ratio 1 --format jpg\n"
      "  idphoto crop scan.tiff -o faces --src-same");
  command->callback([options, status] { *status = RunCrop(*options); });
}

}  // namespace qx::cli
