#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>

#include "cli/commands/commands.h"
#include "cli/output_file.h"
#include "codec/codec.h"
#include "orders/background.h"
#include "orders/options/common_options.h"
#include "orders/options/document_options.h"
#include "photo/base/text.h"
#include "photo/studio.h"

namespace qx::cli {
namespace {

struct BackgroundOptions {
  std::string photograph, output;
  bool quiet = false, json = false;
  orders::BackgroundOrder order;
};

void Run(BackgroundOptions& options) {
  orders::BackgroundOrder& order = options.order;
  AsSetup([&order] { order.Settle(); });
  const codec::ImageFormat format = CheckPictureName(options.output, {{"photograph", options.photograph}});
  AsSetup([&] { orders::CheckTransparency(order.Wanted(), format, "end the name in .png"); });
  order.format = format;
  codec::FileSource source(options.photograph, order.limits);
  photo::Studio studio;
  const orders::BackgroundFile file = order.Change(source, studio);
  WriteFile(options.output, file.bytes);
  if (options.quiet) return;
  if (options.json) {
    std::printf("%s\n", order.Report(options.photograph, options.output, file).c_str());
    return;
  }
  std::printf("%s: %s, %d x %d pixels\n", photo::Printable(options.photograph).c_str(),
              photo::Printable(options.output).c_str(), file.width, file.height);
  for (const std::string& remark : file.remarks) std::printf("  %s\n", remark.c_str());
}

}  // namespace

void AddBackgroundCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<BackgroundOptions>();
  CLI::App* command = app.add_subcommand("background", "Put another background behind the person of a photograph");
  command->add_option("PHOTO", options->photograph, "JPEG, PNG, WebP, HEIF or TIFF file")->type_name("")->required();
  command->add_option("-o,--output", options->output, "The .jpg or .png file to write")->type_name("OUT")->required();
  options->order.AddOptions(*command);
  CLI::Option* quiet = command->add_flag("--quiet", options->quiet, "Print nothing when all went well");
  command->add_flag("--json", options->json, "Print the report as one JSON object")->excludes(quiet);
  orders::AddMaxMegapixels(*command, &options->order.limits.pixels);
  command->footer(
      "The whole photograph stays, at its own size and with the resolution in its file. A picture that is transparent\n"
      "somewhere, such as a cut-out of idphoto mask, is put before the background as it is; in all others the person\n"
      "is told from the old background first, and its light is taken out of hair and outline.\n\n"
      "Exit status: 0 done, 1 not possible with this photograph (the reason is on standard error), 2 nothing was\n"
      "tried.\n\n"
      "Examples:\n"
      "  idphoto background holiday.jpg -o white.jpg --background white\n"
      "  idphoto background wedding.jpg -o blue.png --background gradient:#dbe9f6-#8fb3d9 --pair\n"
      "  idphoto background me.png -o red.jpg --background red");
  command->callback([options, status] { RunOnPhotograph(options->photograph, status, [&] { Run(*options); }); });
}

}  // namespace qx::cli
