#include "orders/sheet.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/document/paper.h"
#include "photo/document/units.h"

namespace qx::orders {
using Json = nlohmann::ordered_json;
namespace {

using photo::Failure;
using photo::FailureCode;

double ParseLength(const std::string& text, const std::string& option) {
  try {
    const photo::Range range = photo::ParseRange(text);
    if (range.unit == photo::Unit::kMillimetre && range.min == range.max) return range.min;
  } catch (const Failure&) {
    // said below, with the option
  }
  throw Failure(FailureCode::kBadOption,
                "--" + option + ": \"" + photo::Printable(text) + "\" is no length; write it as 3mm",
                {{"option", option}});
}

template <typename Parse>
auto Parsed(Parse parse, const std::string& text, const char* option) {
  try {
    return parse(text);
  } catch (const Failure& failure) {
    throw Failure(failure.Code(), failure.what(), {{"option", option}});
  }
}

photo::PrintResolution ResolutionOf(const codec::FileSource& source, const photo::Image& image,
                                    const std::optional<photo::Size>& size) {
  if (const auto written = source.Resolution()) return *written;
  if (!size) {
    throw Failure(FailureCode::kBadOption, "says nothing about its print size; give one with --size 35x45mm",
                  {{"option", "size"}});
  }
  const photo::PrintResolution resolution{image.width * photo::kMillimetresPerInch / size->width,
                                          image.height * photo::kMillimetresPerInch / size->height};
  // Rounding to whole pixels alone stays far below one in a hundred.
  if (std::abs(resolution.x / resolution.y - 1) > 0.01) {
    throw Failure(FailureCode::kBadOption,
                  "is " + std::to_string(image.width) + " x " + std::to_string(image.height) +
                      " pixels, which is not the shape of " + photo::ToText(*size) + "; cut it to that shape first",
                  {{"option", "size"}});
  }
  return resolution;
}

// Of one photograph, see Materials.
std::optional<int> ParseCopies(const std::string& text) {
  int count = -1;
  const char* const end = text.data() + text.size();
  const auto [last, problem] = std::from_chars(text.data(), end, count);
  if (problem != std::errc() || last != end || count < 0 || count > photo::kMaxTiles) {
    throw Failure(
        FailureCode::kBadOption,
        "copies: \"" + photo::Printable(text) + "\" is no number from 0 to " + std::to_string(photo::kMaxTiles),
        {{"option", "copies"}});
  }
  return count > 0 ? std::optional(count) : std::nullopt;
}

// The failure of one of several photographs.
Failure About(size_t number, const Failure& failure) {
  photo::FailureFields fields = failure.Fields();
  fields.emplace_back("photograph", static_cast<double>(number));
  return {failure.Code(), "photograph " + std::to_string(number) + ": " + failure.what(), std::move(fields)};
}

// How many of each photograph there are, and how large.
Json PhotographsJson(const SheetFile& sheet) {
  const auto millimetres = [&sheet](int32_t pixels) {
    return std::round(photo::ToMillimetres(pixels, sheet.spec.dpi) * 100) / 100;
  };
  Json list = Json::array();
  for (size_t i = 0; i < sheet.pictures.size(); ++i) {
    const auto copies = std::count_if(sheet.layout.tiles.begin(), sheet.layout.tiles.end(),
                                      [i](const photo::Tile& tile) { return tile.kind == i; });
    list.push_back({{"copies", copies},
                    {"width_mm", millimetres(sheet.pictures[i].width)},
                    {"height_mm", millimetres(sheet.pictures[i].height)}});
  }
  return list;
}

}  // namespace

void SheetOrder::AddOptions(CLI::App& command) {
  command
      .add_option("--paper", paper,
                  "3.5x5, 4x6 (default), 5x7, 6x8, 8x10 (inches), A3 to A7, letter, or a size such as 10x15cm")
      ->type_name("PAPER");
  command.add_option("--copies", copies, "Copies of each photograph; default: as many as there is room for")
      ->type_name("N")
      ->check(CLI::Range(1, photo::kMaxTiles).description(""));
  command.add_option("--size", size, "Print size of photographs whose files do not tell theirs, such as 35x45mm")
      ->type_name("WxH");
  command.add_option("--dpi", dpi, "Pixels an inch of the sheet; default: those of the photographs")
      ->type_name("N")
      ->check(CLI::Range(photo::kLowestSheetDpi, photo::kHighestSheetDpi).description(""));
  command.add_option("--margin", margin, "White edge of the paper; default 3mm")->type_name("MM");
  command.add_option("--gap", gap, "Space between photographs; default 2mm")->type_name("MM");
}

void SheetOrder::AddChoices(CLI::App& command) {
  command
      .add_option_function<std::string>(
          "--format",
          [this](const std::string& name) {
            format = name == "png"    ? codec::PrintFormat::kPng
                     : name == "tiff" ? codec::PrintFormat::kTiff
                                      : codec::PrintFormat::kJpeg;
          },
          "jpg (default), png or tiff")
      ->type_name("FORMAT")
      ->transform(CLI::IsMember({"png", "jpg", "tiff"}, CLI::ignore_case).description("png|jpg|tiff"));
}

void SheetOrder::Settle() {
  spec_.paper = Parsed(photo::ParsePaper, paper, "paper");
  if (!size.empty()) printSize_ = Parsed(photo::ParseSize, size, "size");
  if (printSize_ && printSize_->unit != photo::Unit::kMillimetre) {
    throw Failure(FailureCode::kBadOption, "--size is a print size, such as 35x45mm, not one in pixels",
                  {{"option", "size"}});
  }
  spec_.marginMm = ParseLength(margin, "margin");
  spec_.gapMm = ParseLength(gap, "gap");
}

photo::SheetPhotograph SheetOrder::Take(codec::FileSource& source, const std::string& name) const {
  photo::SheetPhotograph photograph;
  photograph.name = name;
  photograph.copies = copies;
  photograph.image = source.Whole();
  photograph.resolution = ResolutionOf(source, photograph.image, printSize_);
  return photograph;
}

SheetFile SheetOrder::Draw(const std::vector<photo::SheetPhotograph>& photographs) const {
  SheetFile sheet{spec_, {}, {}, {}};
  sheet.spec.dpi = dpi ? *dpi : photo::OwnDpi(photographs);
  sheet.layout = photo::LayOutPhotographs(sheet.spec, photographs);
  sheet.pictures = photo::ScaleToSheet(photographs, sheet.spec.dpi);
  sheet.bytes = codec::EncodePrint(photo::DrawSheet(sheet.layout, sheet.pictures), format, sheet.spec.dpi);
  return sheet;
}

std::vector<photo::SheetPhotograph> SheetOrder::TakeAll(Materials* materials) const {
  std::vector<photo::Bytes> files;
  files.push_back(std::move(materials->photo));
  for (photo::Bytes& file : materials->morePhotos) files.push_back(std::move(file));
  std::vector<photo::SheetPhotograph> photographs;
  for (size_t i = 0; i < files.size(); ++i) {
    try {
      codec::FileSource source(std::move(files[i]), limits);
      photographs.push_back(Take(
          source, files.size() == 1 ? photo::Printable(materials->photoName) : "photograph " + std::to_string(i + 1)));
      if (i < materials->copies.size() && !materials->copies[i].empty()) {
        photographs.back().copies = ParseCopies(materials->copies[i]);
      }
    } catch (const Failure& failure) {
      if (files.size() == 1) throw;
      throw About(i + 1, failure);
    }
  }
  return photographs;
}

Answer SheetOrder::Work(Materials materials, photo::Studio&) const {
  SheetFile sheet = Draw(TakeAll(&materials));
  const std::string name = StemOf(materials.photoName) + "-sheet" + EndingOf(format);
  const Json report = {
      {"photograph", materials.photoName},    {"output", name},        {"width", sheet.layout.width},
      {"height", sheet.layout.height},        {"dpi", sheet.spec.dpi}, {"copies", sheet.layout.tiles.size()},
      {"photographs", PhotographsJson(sheet)}};
  Answer answer{{}, report.dump(-1, ' ', false, Json::error_handler_t::replace)};
  answer.pictures.push_back({name, format, std::move(sheet.bytes)});
  return answer;
}

}  // namespace qx::orders
