#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/output_file.h"
#include "cli/wording.h"
#include "codec/codec.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/document/paper.h"
#include "photo/document/units.h"
#include "photo/sheet/sheet.h"

namespace qx::cli {
namespace fs = std::filesystem;
namespace {

struct SheetOptions {
  std::vector<std::string> photographs;
  std::string output;
  std::string paper = "4x6";
  std::string margin = "3mm", gap = "2mm";
  std::string size;  // empty: as the files say
  std::optional<int32_t> dpi;
  std::optional<int> copies;
  int64_t maxPixels = codec::kDefaultMaxPixels;
};

double ParseLength(const std::string& text, const char* option) {
  try {
    const photo::Range range = photo::ParseRange(text);
    if (range.unit == photo::Unit::kMillimetre && range.min == range.max) return range.min;
  } catch (const photo::Failure&) {
    // said below, with the option
  }
  throw SetupFailure(std::string(option) + ": \"" + photo::Printable(text) + "\" is no length; write it as 3mm");
}

// What the command line asks for, read before any photograph is.
struct SheetPlan {
  photo::SheetSpec spec;
  codec::PrintFormat format;
  std::optional<photo::Size> size;
};

SheetPlan PlanSheet(const SheetOptions& options) {
  const std::string name = photo::Printable(options.output);
  const auto format = codec::PrintFormatOfName(options.output);
  if (!format) throw SetupFailure(name + ": unknown kind of picture; end the name in .png, .jpg or .tiff");
  const fs::path folder = fs::path(options.output).parent_path();
  CheckOutputFolder(folder.empty() ? "." : folder);
  SheetPlan plan{{}, *format, {}};
  try {
    plan.spec.paper = photo::ParsePaper(options.paper);
    if (!options.size.empty()) plan.size = photo::ParseSize(options.size);
  } catch (const photo::Failure& failure) {
    throw SetupFailure(Wording(failure));
  }
  if (plan.size && plan.size->unit != photo::Unit::kMillimetre) {
    throw SetupFailure("--size is a print size, such as 35x45mm, not one in pixels");
  }
  plan.spec.marginMm = ParseLength(options.margin, "--margin");
  plan.spec.gapMm = ParseLength(options.gap, "--gap");
  return plan;
}

// Takes ":4" off the name. A file that really ends so comes first.
std::optional<int> TakeCount(std::string* name) {
  const size_t colon = name->rfind(':');
  std::error_code error;
  if (colon == std::string::npos || colon == 0 || fs::exists(*name, error)) return std::nullopt;
  int count = 0;
  const char* const end = name->data() + name->size();
  const auto [last, problem] = std::from_chars(name->data() + colon + 1, end, count);
  if (problem != std::errc() || last != end) return std::nullopt;
  if (count < 1 || count > photo::kMaxTiles) {
    throw SetupFailure(photo::Printable(*name) + ": the number of copies goes from 1 to " +
                       std::to_string(photo::kMaxTiles));
  }
  name->resize(colon);
  return count;
}

photo::PrintResolution ResolutionOf(const fs::path& path, const photo::Image& image,
                                    const std::optional<photo::Size>& size) {
  if (const auto written = codec::ReadPrintResolution(path)) return *written;
  if (!size)
    throw photo::Failure(photo::FailureCode::kBadOption,
                         "says nothing about its print size; give one with --size 35x45mm");
  const photo::PrintResolution resolution{image.width * photo::kMillimetresPerInch / size->width,
                                          image.height * photo::kMillimetresPerInch / size->height};
  // Rounding to whole pixels alone stays far below one in a hundred.
  if (std::abs(resolution.x / resolution.y - 1) > 0.01) {
    throw photo::Failure(photo::FailureCode::kBadOption, "is " + std::to_string(image.width) + " x " +
                                                             std::to_string(image.height) +
                                                             " pixels, which is not the shape of " +
                                                             photo::ToText(*size) + "; cut it to that shape first");
  }
  return resolution;
}

photo::SheetPhotograph ReadPhotograph(const SheetOptions& options, const SheetPlan& plan, std::string path) {
  photo::SheetPhotograph photograph;
  photograph.copies = TakeCount(&path);
  if (!photograph.copies) photograph.copies = options.copies;
  photograph.name = photo::Printable(path);
  if (SameFile(options.output, path)) {
    throw SetupFailure(photo::Printable(options.output) + ": would replace the photograph; choose another name");
  }
  try {
    photograph.image = codec::ReadImage(path, {options.maxPixels});
    photograph.resolution = ResolutionOf(path, photograph.image, plan.size);
  } catch (const std::exception& exception) {
    throw About(photograph.name, exception);
  }
  return photograph;
}

void PrintOutcome(const SheetOptions& options, const SheetPlan& plan, const photo::SheetLayout& layout,
                  const std::vector<photo::SheetPhotograph>& photographs, const std::vector<photo::Image>& pictures) {
  const photo::SheetSpec& spec = plan.spec;
  auto millimetres = [](double width, double height) {
    return photo::Decimal(width) + " x " + photo::Decimal(height) + " mm";
  };
  std::printf(
      "%s: %s, %d x %d pixels at %d dpi, %s\n", photo::Printable(options.output).c_str(),
      millimetres(photo::ToMillimetres(layout.width, spec.dpi), photo::ToMillimetres(layout.height, spec.dpi)).c_str(),
      layout.width, layout.height, spec.dpi, photo::Count(layout.tiles.size(), "photograph").c_str());
  for (size_t i = 0; i < photographs.size(); ++i) {
    const photo::Image &from = photographs[i].image, &to = pictures[i];
    const auto copies = std::count_if(layout.tiles.begin(), layout.tiles.end(),
                                      [i](const photo::Tile& tile) { return tile.kind == i; });
    std::string line = "  " + photographs[i].name + ": " + std::to_string(copies) + " of " +
                       millimetres(photo::ToMillimetres(to.width, spec.dpi), photo::ToMillimetres(to.height, spec.dpi));
    if (from.width != to.width || from.height != to.height) {
      line += ", resampled from " + photo::Decimal(photographs[i].resolution.x) + " dpi (" +
              std::to_string(from.width) + " x " + std::to_string(from.height) + " to " + std::to_string(to.width) +
              " x " + std::to_string(to.height) + " pixels)";
    }
    const double width = photo::ToMillimetres(to.width, spec.dpi);
    if (plan.size && std::abs(width / plan.size->width - 1) > 0.01) line += ", by the dpi in its file";
    std::printf("%s\n", line.c_str());
  }
}

void RunSheet(const SheetOptions& options) {
  SheetPlan plan = PlanSheet(options);
  std::vector<photo::SheetPhotograph> photographs;
  for (const std::string& path : options.photographs) photographs.push_back(ReadPhotograph(options, plan, path));
  plan.spec.dpi = options.dpi ? *options.dpi : photo::OwnDpi(photographs);
  const photo::SheetLayout layout = photo::LayOutPhotographs(plan.spec, photographs);
  const std::vector<photo::Image> pictures = photo::ScaleToSheet(photographs, plan.spec.dpi);
  WriteFile(options.output, codec::EncodePrint(photo::DrawSheet(layout, pictures), plan.format, plan.spec.dpi));
  PrintOutcome(options, plan, layout, photographs, pictures);
}

}  // namespace

void AddSheetCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<SheetOptions>();
  CLI::App* command = app.add_subcommand("sheet", "Put finished photographs onto a sheet of photo paper, at true size");
  command
      ->add_option("PHOTO", options->photographs,
                   "JPEG, PNG, WebP, HEIF or TIFF files; PHOTO:4 asks for four copies of one")
      ->type_name("")
      ->required();
  command->add_option("-o,--output", options->output, "The sheet, a .png, .jpg or .tiff file")
      ->type_name("FILE")
      ->required();
  command
      ->add_option("--paper", options->paper,
                   "3.5x5, 4x6 (default), 5x7, 6x8, 8x10 (inches), A3 to A7, letter, or a size such as 10x15cm")
      ->type_name("PAPER");
  command->add_option("--copies", options->copies, "Copies of each photograph; default: as many as there is room for")
      ->type_name("N")
      ->check(CLI::Range(1, photo::kMaxTiles).description(""));
  command
      ->add_option("--size", options->size, "Print size of photographs whose files do not tell theirs, such as 35x45mm")
      ->type_name("WxH");
  command->add_option("--dpi", options->dpi, "Pixels an inch of the sheet; default: those of the photographs")
      ->type_name("N")
      ->check(CLI::Range(photo::kLowestSheetDpi, photo::kHighestSheetDpi).description(""));
  command->add_option("--margin", options->margin, "White edge of the paper; default 3mm")->type_name("MM");
  command->add_option("--gap", options->gap, "Space between photographs; default 2mm")->type_name("MM");
  AddMaxMegapixels(*command, &options->maxPixels);
  command->footer(
      "Photographs are never scaled: each is as large as its pixels and the dpi in its file make it (72 dpi counts as\n"
      "not told). One of another dpi than the sheet's is resampled to the same millimetres, all others are copied "
      "pixel\n"
      "by pixel. The paper is turned the way that takes more. Grey ticks show where to cut; none touches a "
      "photograph.\n"
      "Print the sheet at 100 %, not \"fit to page\".\n\n"
      "Exit status: 0 done, 1 a photograph cannot be read or does not fit, 2 nothing was tried.\n\n"
      "Examples:\n"
      "  idphoto sheet passport.jpg -o sheet.png                            as many as fit on 4x6 inch paper\n"
      "  idphoto sheet passport.jpg:4 visa.jpg:2 -o sheet.png --paper A5    four and two on one sheet\n"
      "  idphoto sheet scan.png -o sheet.jpg --size 35x45mm --dpi 600");
  command->callback([options, status] {
    try {
      RunSheet(*options);
    } catch (const SetupFailure&) {
      throw;
    } catch (const std::exception& exception) {
      std::fprintf(stderr, "idphoto: %s\n", Wording(exception).c_str());
      *status = kSomeFailed;
    }
  });
}

}  // namespace qx::cli
