#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "cli/commands/commands.h"
#include "cli/commands/document_options.h"
#include "cli/output_file.h"
#include "codec/codec.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/drawing/draw_check.h"
#include "photo/studio.h"

namespace qx::cli {
namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
namespace {

struct CheckOptions {
  std::string photograph, drawing;
  DocumentOptions document;
  bool json = false;
  int64_t maxPixels = codec::kDefaultMaxPixels;
};

double Rounded(double value) {
  return std::round(value * 100) / 100;
}

std::string JsonText(const CheckOptions& options, const photo::PhotoCheck& check) {
  Json report = {
      {"photograph", options.photograph}, {"passed", check.Passed()}, {"head_to", NameOf(check.document.headTo)}};
  Json& lines = report["checks"] = Json::array();
  for (const photo::CheckLine& line : check.lines) {
    Json entry = {{"name", line.name}, {"value", Rounded(line.value)}};
    if (!line.unit.empty()) entry["unit"] = line.unit;
    if (line.min) entry["min"] = Rounded(*line.min);
    if (line.max) entry["max"] = Rounded(*line.max);
    if (line.tolerance > 0) entry["tolerance"] = Rounded(line.tolerance);
    if (line.min || line.max) entry["passed"] = line.Passed();
    lines.push_back(entry);
  }
  return report.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string LimitText(const photo::CheckLine& line) {
  if (!line.min && !line.max) return "-";
  if (!line.max) return "from " + photo::Decimal(*line.min);
  if (!line.min) return "up to " + photo::Decimal(*line.max);
  if (*line.min == *line.max) return photo::Decimal(*line.min);
  return photo::Decimal(*line.min) + " to " + photo::Decimal(*line.max);
}

std::string TableText(const CheckOptions& options, const photo::PhotoCheck& check) {
  std::string text = photo::Printable(options.photograph) + ": " + (check.Passed() ? "passed" : "failed") + "\n";
  for (const photo::CheckLine& line : check.lines) {
    char row[160];
    std::snprintf(row, sizeof row, "  %-14s %8s %-4s %-16s %s\n", line.name.c_str(), photo::Decimal(line.value).c_str(),
                  line.unit.c_str(), LimitText(line).c_str(),
                  !line.min && !line.max ? ""
                  : line.Passed()        ? "pass"
                                         : "FAIL");
    text += row;
  }
  return text;
}

void Check(const CheckOptions& options, int* status) {
  const photo::Preset preset = PresetOf(options.document);
  codec::ImageFormat format = codec::ImageFormat::kPng;
  if (!options.drawing.empty()) {
    format = CheckPictureName(options.drawing, {{"photograph", options.photograph}});
  }
  codec::FileSource source(options.photograph, {options.maxPixels});
  const photo::Image photograph = source.Whole();
  const photo::FileFacts facts{source.Resolution(), static_cast<int64_t>(source.FileSize())};
  const photo::PhotoCheck check = photo::Studio().Check(photograph, facts, preset);
  std::fputs((options.json ? JsonText(options, check) : TableText(options, check)).c_str(), stdout);
  if (!options.drawing.empty()) {
    WriteFile(options.drawing, codec::EncodeImage(photo::DrawCheck(photograph, check), format));
  }
  if (!check.Passed()) *status = kSomeFailed;
}

}  // namespace

void AddCheckCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<CheckOptions>();
  CLI::App* command = app.add_subcommand("check", "Measure a finished photograph against its document");
  command->add_option("PHOTO", options->photograph, "The finished photograph")->type_name("")->required();
  AddMeasureOptions(*command, &options->document);
  command->add_flag("--json", options->json, "Print one JSON object instead of a table");
  command->add_option("--draw", options->drawing, "Draw the measures into this .png or .jpg file")->type_name("OUT");
  AddMaxMegapixels(*command, &options->maxPixels);
  command->footer(
      "The whole picture is taken as the document. Head: from the chin to the crown, which the face tells where hair\n"
      "stands high, or to the top of the hair, as the document counts it; the other length is only shown. Space\n"
      "above: upper edge to the hair, which may take of it what stands above the crown. Eyes: to the lower edge.\n"
      "Lengths may miss their limits by half a percent of the height, which is what measuring is worth. Scores go\n"
      "from 0 to 100: tilt falls by 1 for each 0.17 degrees, brightness is that of the face, symmetry compares its\n"
      "halves, and background says how plain the background is and how well the clothes stand out from it.\n\n"
      "Exit status: 0 all passed, 1 something failed or could not be measured, 2 nothing was tried.\n\n"
      "Examples:\n"
      "  idphoto check passport.jpg --preset de-passport\n"
      "  idphoto check passport.jpg --preset de-passport --draw measures.png");
  command->callback(
      [options, status] { RunOnPhotograph(options->photograph, status, [&] { Check(*options, status); }); });
}

}  // namespace qx::cli
