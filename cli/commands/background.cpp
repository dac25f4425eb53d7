#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "cli/commands/commands.h"
#include "cli/platform/file_name.h"
#include "codec/codec.h"
#include "orders/background.h"
#include "orders/options/document_options.h"
#include "photo/studio.h"

namespace qx::cli {
namespace {

struct BackgroundOptions {
  PictureFiles files;
  orders::BackgroundOrder order;
};

void Run(BackgroundOptions& options) {
  orders::BackgroundOrder& order = options.order;
  AsSetup([&order] { order.Settle(); });
  const codec::ImageFormat format = CheckPictureName(options.files.output, {{"photograph", options.files.photograph}});
  AsSetup([&] { orders::CheckTransparency(order.Wanted(), format, "end the name in .png"); });
  order.format = format;
  codec::FileSource source(PathOf(options.files.photograph), order.limits);
  photo::Studio studio;
  const orders::BackgroundFile file = order.Change(source, studio);
  const std::string facts = std::to_string(file.width) + " x " + std::to_string(file.height) + " pixels";
  WritePicture(options.files, file.bytes, facts, file.remarks,
               order.Report(options.files.photograph, options.files.output, file));
}

}  // namespace

void AddBackgroundCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<BackgroundOptions>();
  CLI::App* command = app.add_subcommand("background", "Put another background behind the person of a photograph");
  AddPictureOptions(*command, &options->order, &options->files);
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
  command->callback([options, status] { RunOnPhotograph(options->files.photograph, status, [&] { Run(*options); }); });
}

}  // namespace qx::cli
