#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/platform/file_name.h"
#include "cli/wording.h"
#include "codec/codec.h"
#include "orders/make.h"
#include "orders/options/common_options.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/studio.h"

namespace qx::cli {
namespace {

struct MakeOptions {
  std::string photograph, output, mask;
  bool quiet = false, json = false;
  orders::MakeOrder order;
};

// "34.0 mm", or "34.0 mm to the crown, 37.1 mm with hair", that which the document counts first.
std::string HeadText(const photo::PhotoMeasures& measures, const photo::Document& document) {
  char text[80];
  const double crown = measures.head * document.heightMm, hair = measures.headWithHair * document.heightMm;
  if (crown == hair) {
    std::snprintf(text, sizeof text, "%.1f mm", crown);
  } else if (document.headTo == photo::HeadTo::kHair) {
    std::snprintf(text, sizeof text, "%.1f mm with hair, %.1f mm to the crown", hair, crown);
  } else {
    std::snprintf(text, sizeof text, "%.1f mm to the crown, %.1f mm with hair", crown, hair);
  }
  return text;
}

std::string ReportText(const MakeOptions& options, const orders::MadeFile& file) {
  const photo::Document& document = options.order.Request().document;
  const photo::MadePhoto& made = file.made;
  char numbers[200];
  std::snprintf(numbers, sizeof numbers, "%d x %d pixels, %d dpi, %.1f kB", document.width, document.height,
                document.dpi, static_cast<double>(file.file.bytes.size()) / photo::kCeilingKilobyte);
  std::string text =
      photo::Printable(options.photograph) + ": " + photo::Printable(options.output) + ", " + numbers + "\n";
  if (!options.order.pair) {
    std::snprintf(numbers, sizeof numbers, ", space above %.1f mm, eyes %.1f mm up, face %.1f mm wide\n",
                  made.measures.top * document.heightMm, made.measures.eyes * document.heightMm,
                  made.measures.faceWidth * document.widthMm);
    text += "  head " + HeadText(made.measures, document) + numbers;
  }
  for (const std::string& remark : made.remarks) text += "  " + remark + "\n";
  return text;
}

void Make(MakeOptions& options) {
  orders::MakeOrder& order = options.order;
  AsSetup([&order] { order.Settle(); });
  const KeptFile photographFile{"photograph", options.photograph}, maskFile{"mask", options.mask};
  const codec::ImageFormat format = CheckPictureName(options.output, {photographFile, maskFile});
  AsSetup([&] { orders::CheckTransparency(order.Request().background, format, "end the name in .png"); });
  if (order.compare) CheckPictureName(CompareName(options.output), {photographFile, maskFile});
  order.format = format;

  codec::FileSource source(PathOf(options.photograph), order.limits);
  photo::Mask mask;
  if (!options.mask.empty()) {
    try {
      mask = codec::ReadMask(PathOf(options.mask), source.Width(), source.Height(), order.limits);
    } catch (const photo::Failure& failure) {
      throw About("the mask " + photo::Printable(options.mask), failure);
    }
  }
  const photo::Mask* given = options.mask.empty() ? nullptr : &mask;
  // The studio ends before the files are made: its networks and they need not have their memory at once.
  const orders::MadeFile file = order.Finish(photo::Studio().Make(source, order.Faces(), order.Request(), given));
  WriteWithComparison(options.output, file.file.bytes, file.comparison);
  if (!options.quiet) {
    const std::string report =
        options.json ? order.Report(options.photograph, options.output, file) + "\n" : ReportText(options, file);
    std::fputs(report.c_str(), stdout);
  }
}

}  // namespace

void AddMakeCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<MakeOptions>();
  CLI::App* command = app.add_subcommand("make", "Make the finished photograph of a document");
  command->add_option("PHOTO", options->photograph, "JPEG, PNG, WebP, HEIF or TIFF file")->type_name("")->required();
  command->add_option("-o,--output", options->output, "The .jpg or .png file to write")->type_name("OUT")->required();
  command
      ->add_option(
          "--mask", options->mask,
          "Person mask, from idphoto mask or made elsewhere: of the photograph's size, white where the person is")
      ->type_name("FILE");
  options->order.AddOptions(*command);
  CLI::Option* quiet = command->add_flag("--quiet", options->quiet, "Print nothing when all went well");
  command->add_flag("--json", options->json, "Print the report as one JSON object")->excludes(quiet);
  orders::AddMaxMegapixels(*command, &options->order.limits.pixels);
  command->footer(
      "The photograph is turned upright, the person is told from the background, and the cut that meets the\n"
      "document's bounds is brought to its size in pixels at once. Options replace single numbers of the preset;\n"
      "percents are of the height. Where the preset leaves the head or the space above it open, usual ones are taken.\n"
      "Where the authority forbids changed backgrounds, the photograph's own is kept; where it forbids retouching,\n"
      "options that retouch or adjust are refused. Remarks say what a new background, cut and size cannot mend: a head "
      "turned\n"
      "away, closed eyes, an open mouth, bad light, too little sharpness and such; with --strict they are reasons to\n"
      "refuse. A size limit counts 1,000 bytes to the kB, a least size 1,024; a file that\n"
      "stays below it at quality 100 is filled up with a comment of blanks.\n\n"
      "Exit status: 0 done, 1 not possible with this photograph (the reason is on standard error), 2 nothing was\n"
      "tried.\n\n"
      "Examples:\n"
      "  idphoto make holiday.jpg -o passport.jpg --preset de-passport\n"
      "  idphoto make holiday.jpg -o visa.jpg --preset cn-visa --background '#ffffff' --max-kb 120\n"
      "  idphoto make holiday.jpg -o badge.png --size 300x400px --head 55-65% --beauty light\n"
      "  idphoto make wedding.jpg -o certificate.jpg --pair --preset cn-marriage-certificate");
  command->callback([options, status] { RunOnPhotograph(options->photograph, status, [&] { Make(*options); }); });
}

}  // namespace qx::cli
