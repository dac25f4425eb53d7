#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>

#include "cli/commands/commands.h"
#include "cli/platform/file_name.h"
#include "codec/codec.h"
#include "orders/watermark.h"

namespace qx::cli {
namespace {

struct WatermarkOptions {
  PictureFiles files;
  orders::WatermarkOrder order;
};

void Run(WatermarkOptions& options) {
  orders::WatermarkOrder& order = options.order;
  AsSetup([&order] { order.Settle(); });
  order.format = CheckPictureName(options.files.output, {{"photograph", options.files.photograph}});
  codec::FileSource source(PathOf(options.files.photograph), order.limits);
  const orders::WatermarkedFile marked = order.Mark(source);
  char facts[100];
  std::snprintf(facts, sizeof facts, "%d x %d pixels, %d dpi", marked.width, marked.height, marked.dpi);
  WritePicture(options.files, marked.file.bytes, facts, marked.remarks,
               order.Report(options.files.photograph, options.files.output, marked));
}

}  // namespace

void AddWatermarkCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<WatermarkOptions>();
  CLI::App* command = app.add_subcommand("watermark", "Write a text all over a picture, turned and half transparent");
  AddPictureOptions(*command, &options->order, &options->files);
  command->footer(
      "The picture keeps its width and height in pixels; a .png file stays as transparent as it was. The letters are\n"
      "those of western European languages; a text with any other is refused.\n\n"
      "Exit status: 0 done, 1 not possible with this picture (the reason is on standard error), 2 nothing was\n"
      "tried.\n\n"
      "Examples:\n"
      "  idphoto watermark visa.jpg -o proof.jpg --text \"Studio Miller\"\n"
      "  idphoto watermark visa.jpg -o copy.jpg --text \"for the bank only\" --size 32 --opacity 0.3 --angle 45\n"
      "  idphoto watermark me.png -o me-proof.png --text PROOF --color white --space 60");
  command->callback([options, status] { RunOnPhotograph(options->files.photograph, status, [&] { Run(*options); }); });
}

}  // namespace qx::cli
