#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>

#include "cli/commands/commands.h"
#include "cli/platform/file_name.h"
#include "codec/codec.h"
#include "orders/compress.h"
#include "photo/document/presets.h"

namespace qx::cli {
namespace {

struct CompressOptions {
  PictureFiles files;
  orders::CompressOrder order;
};

void Run(CompressOptions& options) {
  orders::CompressOrder& order = options.order;
  AsSetup([&order] { order.Settle(); });
  order.format = CheckPictureName(options.files.output, {{"photograph", options.files.photograph}});
  codec::FileSource source(PathOf(options.files.photograph), order.limits);
  const orders::CompressedFile compressed = order.Compress(source);
  char facts[100];
  std::snprintf(facts, sizeof facts, "%d x %d pixels, %d dpi, %.1f kB", compressed.width, compressed.height,
                compressed.dpi, static_cast<double>(compressed.file.bytes.size()) / photo::kCeilingKilobyte);
  WritePicture(options.files, compressed.file.bytes, facts, compressed.remarks,
               order.Report(options.files.photograph, options.files.output, compressed));
}

}  // namespace

void AddCompressCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<CompressOptions>();
  CLI::App* command = app.add_subcommand("compress", "Bring a picture to a size of file and a resolution");
  AddPictureOptions(*command, &options->order, &options->files);
  command->footer(
      "The picture keeps its width and height in pixels and loses what else its file says: where it was taken, say. A\n"
      "JPEG file that is within the limits already keeps its pixels to the bit; every other one is compressed anew, "
      "as\n"
      "little as the limits allow, and a remark says so. A largest size counts 1,000 bytes to the kB, a least size\n"
      "1,024; a file that stays below it at quality 100 is filled up with a comment of blanks. PNG files lose nothing\n"
      "and are as large as they are.\n\n"
      "Exit status: 0 done, 1 not possible with this picture (the reason is on standard error), 2 nothing was "
      "tried.\n\n"
      "Examples:\n"
      "  idphoto compress passport.jpg -o small.jpg --max-kb 240\n"
      "  idphoto compress scan.tiff -o upload.jpg --min-kb 50 --max-kb 500 --dpi 300\n"
      "  idphoto compress photo.jpg -o print.jpg --dpi 600");
  command->callback([options, status] { RunOnPhotograph(options->files.photograph, status, [&] { Run(*options); }); });
}

}  // namespace qx::cli
