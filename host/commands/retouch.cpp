#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

#include "host/commands/commands.h"
#include "host/commands/retouch_options.h"
#include "host/failure.h"
#include "host/output_file.h"
#include "host/retouch.h"
#include "host/text.h"
#include "host/upright.h"

namespace qx::host {
namespace {

struct RetouchCommand {
  std::string photograph, output;
  RetouchOptions retouch;
  std::optional<int> person;
  bool compare = false, quiet = false;
  int64_t maxPixels = kDefaultMaxPixels;
};

// Upright for the work, then turned back: the face's outline is made narrower along the rows.
Image RetouchPhotograph(Image photograph, const Retouch& retouch, std::optional<int> person, size_t* faces) {
  FaceProbe probe;
  UprightPhotograph upright = MakeUpright(probe, std::move(photograph), person);
  CropEngine engine;
  CropSettings small;
  small.ratio = 0;
  small.bound = kLowestBound;
  engine.Configure(small);
  CropResult crops = engine.CropFaces(upright.image);
  std::vector<int32_t> chosen(person ? 1 : upright.faces.size(), static_cast<int32_t>(upright.persons[0]));
  if (!person) std::iota(chosen.begin(), chosen.end(), 0);
  RetouchFaces(engine, crops, chosen, retouch, &upright.image);
  *faces = chosen.size();
  return TurnClockwise(upright.image, (4 - upright.quarterTurns) % 4);
}

void Run(const RetouchCommand& options) {
  Retouch retouch = RetouchOf(options.retouch);
  if (!options.retouch.Any()) retouch = NamedRetouch("natural");
  const KeptFile photographFile{"photograph", options.photograph};
  const ImageFormat format = CheckPictureName(options.output, {photographFile});
  const std::string compareName = CompareName(options.output);
  if (options.compare) CheckPictureName(compareName, {photographFile});
  Image photograph = ReadImage(options.photograph, options.maxPixels);
  const Image before = options.compare ? photograph : Image();
  size_t faces = 0;
  const Image after = RetouchPhotograph(std::move(photograph), retouch, options.person, &faces);
  const std::vector<uint8_t> bytes = EncodeImage(after, format);
  OutputFile output(options.output);
  output.Write(bytes.data(), bytes.size());
  if (options.compare) WriteImage(compareName, SideBySide(before, after), format);
  output.Commit();
  if (!options.quiet) {
    std::printf("%s: %s, %s retouched\n", Printable(options.photograph).c_str(), Printable(options.output).c_str(),
                Count(faces, "face").c_str());
  }
}

}  // namespace

void AddRetouchCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<RetouchCommand>();
  CLI::App* command = app.add_subcommand("retouch", "Retouch the faces of a photograph and leave all else as it is");
  command->add_option("PHOTO", options->photograph, "JPEG, PNG, WebP, HEIF or TIFF file")->type_name("")->required();
  command->add_option("-o,--output", options->output, "The .jpg or .png file to write")->type_name("OUT")->required();
  AddStrength(*command, "--eyes", &options->retouch.eyes, -kMostSize, kMostSize, "Smaller (-10) or larger eyes (10)");
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

}  // namespace qx::host
