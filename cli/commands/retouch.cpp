#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/retouch_options.h"
#include "cli/wording.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/render/retouch.h"
#include "photo/studio.h"

namespace qx::cli {
namespace {

struct RetouchCommand {
  std::string photograph, output;
  RetouchOptions retouch;
  std::optional<int> person;
  bool compare = false, quiet = false;
  int64_t maxPixels = codec::kDefaultMaxPixels;
};

void Run(const RetouchCommand& options) {
  photo::Retouch retouch = RetouchOf(options.retouch);
  if (!options.retouch.Any()) retouch = photo::NamedRetouch("natural");
  const KeptFile photographFile{"photograph", options.photograph};
  const codec::ImageFormat format = CheckPictureName(options.output, {photographFile});
  if (options.compare) CheckPictureName(CompareName(options.output), {photographFile});
  photo::Image photograph = codec::ReadImage(options.photograph, {options.maxPixels});
  const photo::RetouchedPhoto retouched = photo::Studio().Retouch(std::move(photograph), retouch, options.person);
  const std::vector<uint8_t> bytes = codec::EncodeImage(retouched.after, format);
  std::vector<uint8_t> comparison;
  if (options.compare) comparison = codec::EncodeImage(photo::SideBySide(retouched.before, retouched.after), format);
  WriteWithComparison(options.output, bytes, comparison);
  if (!options.quiet) {
    std::printf("%s: %s, %s retouched\n", photo::Printable(options.photograph).c_str(),
                photo::Printable(options.output).c_str(), photo::Count(retouched.faces, "face").c_str());
  }
}

}  // namespace

void AddRetouchCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<RetouchCommand>();
  CLI::App* command = app.add_subcommand("retouch", "Retouch the faces of a photograph and leave all else as it is");
  command->add_option("PHOTO", options->photograph, "JPEG, PNG, WebP, HEIF or TIFF file")->type_name("")->required();
  command->add_option("-o,--output", options->output, "The .jpg or .png file to write")->type_name("OUT")->required();
  AddStrength(*command, "--eyes", &options->retouch.eyes, -photo::kMostSize, photo::kMostSize,
              "Smaller (-10) or larger eyes (10)");
  AddRetouchOptions(*command, &options->retouch);
  AddCompareFlag(*command, &options->compare);
  AddPersonOption(*command, &options->person, "Number of the only face to retouch, as inspect shows it; default all");
  command->add_flag("--quiet", options->quiet, "Print nothing when all went well");
  AddMaxMegapixels(*command, &options->maxPixels);
  command->footer(
      "Without any strength it is --beauty natural; a strength of 0 changes nothing. Many authorities forbid "
      "retouched\n"
      "photographs: idphoto presets NAME says which, and make refuses to retouch for them. --tone changes the whole\n"
      "photograph, all else only the faces.\n\n"
      "Exit status: 0 done, 1 not possible with this photograph (the reason is on standard error), 2 nothing was\n"
      "tried.\n\n"
      "Examples:\n"
      "  idphoto retouch holiday.jpg -o better.jpg --beauty light --compare\n"
      "  idphoto retouch holiday.jpg -o better.png --skin 2 --tone 3 --person 2");
  command->callback([options, status] { RunOnPhotograph(options->photograph, status, [&] { Run(*options); }); });
}

}  // namespace qx::cli
