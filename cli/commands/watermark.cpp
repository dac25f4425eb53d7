#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>

#include "cli/commands/commands.h"
#include "cli/output_file.h"
#include "codec/codec.h"
#include "orders/options/common_options.h"
#include "orders/watermark.h"
#include "photo/base/text.h"

namespace qx::cli {
namespace {

struct WatermarkOptions {
  std::string photograph, output;
  bool quiet = false, json = false;
  orders::WatermarkOrder order;
};

void Run(WatermarkOptions& options) {
  orders::WatermarkOrder& order = options.order;
  AsSetup([&order] { order.Settle(); });
  order.format = CheckPictureName(options.output, {{"photograph", options.photograph}});
  codec::FileSource source(options.photograph, order.limits);
  const orders::WatermarkedFile marked = order.Mark(source);
  WriteFile(options.output, marked.file.bytes);
  if (options.quiet) return;
  if (options.json) {
    std::printf("%s\n", order.Report(options.photograph, options.output, marked).c_str());
    return;
  }
  std::printf("%s: %s, %d x %d pixels, %d dpi\n", photo::Printable(options.photograph).c_str(),
              photo::Printable(options.output).c_str(), marked.width, marked.height, marked.dpi);
  for (const std::string& remark : marked.remarks) std::printf("  %s\n", remark.c_str());
}

}  // namespace

void AddWatermarkCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<WatermarkOptions>();
  CLI::App* command = app.add_subcommand("watermark", "Write a text all over a picture, turned and half transparent");
  command->add_option("PHOTO", options->photograph, "JPEG, PNG, WebP, HEIF or TIFF file")->type_name("")->required();
  command->add_option("-o,--output", options->output, "The .jpg or .png file to write")->type_name("OUT")->required();
  options->order.AddOptions(*command);
  CLI::Option* quiet = command->add_flag("--quiet", options->quiet, "Print nothing when all went well");
  command->add_flag("--json", options->json, "Print the report as one JSON object")->excludes(quiet);
  orders::AddMaxMegapixels(*command, &options->order.limits.pixels);
  command->footer(
      "The picture keeps its width and height in pixels; a .png file stays as transparent as it was. The letters are\n"
      "those of western European languages; a text with any other is refused.\n\n"
      "Exit status: 0 done, 1 not possible with this picture (the reason is on standard error), 2 nothing was\n"
      "tried.\n\n"
      "Examples:\n"
      "  idphoto watermark visa.jpg -o proof.jpg --text \"Studio Miller\"\n"
      "  idphoto watermark visa.jpg -o copy.jpg --text \"for the bank only\" --size 32 --opacity 0.3 --angle 45\n"
      "  idphoto watermark me.png -o me-proof.png --text PROOF --color white --space 60");
  command->callback([options, status] { RunOnPhotograph(options->photograph, status, [&] { Run(*options); }); });
}

}  // namespace qx::cli
