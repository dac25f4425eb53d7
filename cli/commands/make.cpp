#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/document_options.h"
#include "cli/output_file.h"
#include "cli/wording.h"
#include "codec/codec.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/place/fit_report.h"
#include "photo/studio.h"

namespace qx::cli {
namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
namespace {

struct MakeOptions {
  std::string photograph, output, mask;
  DocumentOptions document;
  std::optional<int> person;
  bool pair = false, compare = false;
  bool quiet = false, json = false;
  int64_t maxPixels = codec::kDefaultMaxPixels;
};

double Millimetres(double fraction, double whole) {
  return std::round(fraction * whole * 100) / 100;
}

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

std::string ReportText(const MakeOptions& options, const photo::Document& document, const photo::MadePhoto& made,
                       const codec::EncodedDocument& file) {
  char numbers[200];
  std::snprintf(numbers, sizeof numbers, "%d x %d pixels, %d dpi, %.1f kB", document.width, document.height,
                document.dpi, static_cast<double>(file.bytes.size()) / photo::kCeilingKilobyte);
  std::string text =
      photo::Printable(options.photograph) + ": " + photo::Printable(options.output) + ", " + numbers + "\n";
  if (!options.pair) {
    std::snprintf(numbers, sizeof numbers, ", space above %.1f mm, eyes %.1f mm up, face %.1f mm wide\n",
                  made.measures.top * document.heightMm, made.measures.eyes * document.heightMm,
                  made.measures.faceWidth * document.widthMm);
    text += "  head " + HeadText(made.measures, document) + numbers;
  }
  for (const std::string& remark : made.remarks) text += "  " + remark + "\n";
  return text;
}

std::string ReportJson(const MakeOptions& options, const photo::Document& document, const photo::MadePhoto& made,
                       const codec::EncodedDocument& file) {
  const bool retouched = !RetouchOf(options.document.retouch).IsNone();
  Json report = {{"photograph", options.photograph},
                 {"output", options.output},
                 {"width", document.width},
                 {"height", document.height},
                 {"dpi", document.dpi},
                 {"bytes", file.bytes.size()},
                 {"quality", file.quality},
                 {"padding", file.padding},
                 {"quarter_turns", made.quarterTurns},
                 {"lean_degrees", std::round(made.lean * 100) / 100},
                 {"straightened_degrees", std::round(made.straightened * 100) / 100},
                 {"enlargement", std::round(made.enlargement * 1000) / 1000},
                 {"retouched", retouched},
                 {"adjusted", !AdjustmentOf(options.document.adjust).IsNone()}};
  if (!options.pair) {
    report["head_mm"] = Millimetres(made.measures.Head(document.headTo), document.heightMm);
    report["head_to"] = NameOf(document.headTo);
    report["head_to_crown_mm"] = Millimetres(made.measures.head, document.heightMm);
    report["head_with_hair_mm"] = Millimetres(made.measures.headWithHair, document.heightMm);
    report["top_mm"] = Millimetres(made.measures.top, document.heightMm);
    report["eyes_mm"] = Millimetres(made.measures.eyes, document.heightMm);
    report["face_width_mm"] = Millimetres(made.measures.faceWidth, document.widthMm);
  }
  report["relaxed"] = !made.givenUp.empty();
  report["remarks"] = made.remarks;
  report["reasons"] = ReasonNames(made);
  return report.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

// Of transparent ones, both before white.
photo::Image Comparison(const photo::MadePhoto& made) {
  if (made.alpha.values.empty()) return photo::SideBySide(*made.before, made.image);
  return photo::SideBySide(photo::Composite(*made.before, made.alphaBefore, photo::Background()),
                           photo::Composite(made.image, made.alpha, photo::Background()));
}

void Make(const MakeOptions& options) {
  const photo::AnalyseRequest faces = FacesOf(options.person, options.pair);
  const photo::Preset preset = PresetOf(options.document);
  photo::MakeRequest request = RequestOf(options.document);
  request.compare = options.compare;
  if (preset.persons == 2 && !options.pair) throw SetupFailure(preset.name + " shows two persons; add --pair");
  const KeptFile photographFile{"photograph", options.photograph}, maskFile{"mask", options.mask};
  const codec::ImageFormat format = CheckPictureName(options.output, {photographFile, maskFile});
  CheckTransparency(request.background, format, "end the name in .png");
  if (options.compare) CheckPictureName(CompareName(options.output), {photographFile, maskFile});

  codec::FileSource source(options.photograph, {options.maxPixels});
  photo::Mask mask;
  if (!options.mask.empty()) {
    try {
      mask = codec::ReadMask(options.mask, source.Width(), source.Height(), {options.maxPixels});
    } catch (const photo::Failure& failure) {
      throw About("the mask " + photo::Printable(options.mask), failure);
    }
  }
  const photo::Mask* given = options.mask.empty() ? nullptr : &mask;
  photo::MadePhoto made = photo::Studio().Make(source, faces, request, given);
  const codec::EncodedDocument file = codec::EncodeDocument(made.image, format, request.document.dpi,
                                                            request.document.minKb, request.document.maxKb, made.alpha);
  if (!file.Remark().empty()) made.remarks.push_back(file.Remark());
  if (request.background.IsKeep() && !options.document.background) {
    made.remarks.push_back("background kept: " + preset.authority + " takes no changed one");
  }
  std::vector<uint8_t> comparison;
  if (made.before) comparison = codec::EncodeImage(Comparison(made), format);
  WriteWithComparison(options.output, file.bytes, comparison);
  if (!options.quiet) {
    const std::string report = options.json ? ReportJson(options, request.document, made, file)
                                            : ReportText(options, request.document, made, file);
    std::fputs(report.c_str(), stdout);
  }
}

}  // namespace

void AddMakeCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<MakeOptions>();
  CLI::App* command = app.add_subcommand("make", "Make the finished photograph of a document");
  command->add_option("PHOTO", options->photograph, "JPEG, PNG, WebP, HEIF or TIFF file")->type_name("")->required();
  command->add_option("-o,--output", options->output, "The .jpg or .png file to write")->type_name("OUT")->required();
  AddMakeOptions(*command, &options->document);
  command
      ->add_option(
          "--mask", options->mask,
          "Person mask, from idphoto mask or made elsewhere: of the photograph's size, white where the person is")
      ->type_name("FILE");
  AddPersonOption(*command, &options->person, "Number of the face, as inspect shows it; default the largest");
  AddCompareFlag(*command, &options->compare);
  command->add_flag("--pair", options->pair, "Two persons in one photograph; of the bounds only the size counts");
  CLI::Option* quiet = command->add_flag("--quiet", options->quiet, "Print nothing when all went well");
  command->add_flag("--json", options->json, "Print the report as one JSON object")->excludes(quiet);
  AddMaxMegapixels(*command, &options->maxPixels);
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
