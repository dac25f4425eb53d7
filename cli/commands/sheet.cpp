#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/output_file.h"
#include "cli/platform/file_name.h"
#include "cli/wording.h"
#include "codec/codec.h"
#include "orders/options/common_options.h"
#include "orders/sheet.h"
#include "photo/base/text.h"
#include "photo/document/units.h"
#include "photo/sheet/sheet.h"

namespace qx::cli {
namespace fs = std::filesystem;
namespace {

struct SheetOptions {
  std::vector<std::string> photographs;
  std::string output;
  orders::SheetOrder order;
};

// What the command line asks for, read before any photograph is.
void PlanSheet(SheetOptions& options) {
  const auto format = codec::PrintFormatOfName(PathOf(options.output));
  if (!format) {
    throw SetupFailure(photo::Printable(options.output) +
                       ": unknown kind of picture; end the name in .png, .jpg or .tiff");
  }
  const fs::path folder = PathOf(options.output).parent_path();
  CheckOutputFolder(folder.empty() ? "." : folder);
  options.order.format = *format;
  AsSetup([&options] { options.order.Settle(); });
}

// Takes ":4" off the name. A file that really ends so comes first.
std::optional<int> TakeCount(std::string* name) {
  const size_t colon = name->rfind(':');
  std::error_code error;
  if (colon == std::string::npos || colon == 0 || fs::exists(PathOf(*name), error)) return std::nullopt;
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

photo::SheetPhotograph ReadPhotograph(const SheetOptions& options, std::string path) {
  const std::optional<int> copies = TakeCount(&path);
  const std::string name = photo::Printable(path);
  if (SameFile(PathOf(options.output), PathOf(path))) {
    throw SetupFailure(photo::Printable(options.output) + ": would replace the photograph; choose another name");
  }
  try {
    codec::FileSource source(PathOf(path), options.order.limits);
    photo::SheetPhotograph photograph = options.order.Take(source, name);
    if (copies) photograph.copies = copies;
    return photograph;
  } catch (const std::exception& exception) {
    throw About(name, exception);
  }
}

void PrintOutcome(const SheetOptions& options, const std::vector<photo::SheetPhotograph>& photographs,
                  const orders::SheetFile& sheet) {
  const photo::SheetSpec& spec = sheet.spec;
  const photo::SheetLayout& layout = sheet.layout;
  const std::optional<photo::Size>& size = options.order.PrintSize();
  auto millimetres = [](double width, double height) {
    return photo::Decimal(width) + " x " + photo::Decimal(height) + " mm";
  };
  std::printf(
      "%s: %s, %d x %d pixels at %d dpi, %s\n", photo::Printable(options.output).c_str(),
      millimetres(photo::ToMillimetres(layout.width, spec.dpi), photo::ToMillimetres(layout.height, spec.dpi)).c_str(),
      layout.width, layout.height, spec.dpi, photo::Count(layout.tiles.size(), "photograph").c_str());
  for (size_t i = 0; i < photographs.size(); ++i) {
    const photo::Image &from = photographs[i].image, &to = sheet.pictures[i];
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
    if (size && std::abs(width / size->width - 1) > 0.01) line += ", by the dpi in its file";
    std::printf("%s\n", line.c_str());
  }
}

void RunSheet(SheetOptions& options) {
  PlanSheet(options);
  std::vector<photo::SheetPhotograph> photographs;
  for (const std::string& path : options.photographs) photographs.push_back(ReadPhotograph(options, path));
  const orders::SheetFile sheet = options.order.Draw(photographs);
  WriteFile(PathOf(options.output), sheet.bytes);
  PrintOutcome(options, photographs, sheet);
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
  options->order.AddOptions(*command);
  orders::AddMaxMegapixels(*command, &options->order.limits.pixels);
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
