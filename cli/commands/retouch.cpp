#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "cli/commands/commands.h"
#include "cli/platform/file_name.h"
#include "orders/options/common_options.h"
#include "orders/retouch.h"
#include "photo/base/text.h"
#include "photo/studio.h"

namespace qx::cli {
namespace {

struct RetouchCommand {
  std::string photograph, output;
  bool quiet = false;
  orders::RetouchOrder order;
};

void Run(RetouchCommand& options) {
  orders::RetouchOrder& order = options.order;
  const KeptFile photographFile{"photograph", options.photograph};
  order.format = CheckPictureName(options.output, {photographFile});
  if (order.compare) CheckPictureName(CompareName(options.output), {photographFile});
  photo::Image photograph = codec::ReadImage(PathOf(options.photograph), order.limits);
  const photo::RetouchedPhoto retouched = photo::Studio().Retouch(std::move(photograph), order.Wanted(), order.person);
  const orders::RetouchedFile file = order.Finish(retouched);
  WriteWithComparison(options.output, file.bytes, file.comparison);
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
  options->order.AddOptions(*command);
  command->add_flag("--quiet", options->quiet, "Print nothing when all went well");
  orders::AddMaxMegapixels(*command, &options->order.limits.pixels);
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
