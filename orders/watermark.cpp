#include "orders/watermark.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <utility>

#include "orders/compress.h"
#include "orders/options/checks.h"
#include "orders/options/common_options.h"
#include "orders/options/retouch_options.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/render/css_colours.h"

namespace qx::orders {
using Json = nlohmann::ordered_json;
namespace {

void AddNumber(CLI::App& command, const std::string& name, double* target, double min, double max,
               const std::string& help) {
  command
      .add_option_function<std::string>(
          name,
          [=](const std::string& text) {
            std::optional<double> value;
            if (!ReadStrength(text, min, max, &value)) {
              throw CLI::ValidationError(
                  name, "must be between " + photo::Decimal(min) + " and " + photo::Decimal(max) + ", not " + text);
            }
            *target = *value;
          },
          help)
      ->type_name("X")
      ->check(ReadAsNumber(min, max));
}

void AddLength(CLI::App& command, const std::string& name, int32_t* target, int32_t min, int32_t max,
               const std::string& help) {
  command.add_option(name, *target, help)->type_name("N")->check(WholeBetween(min, max));
}

}  // namespace

void WatermarkOrder::AddOptions(CLI::App& command) {
  command.add_option("--text", watermark.text, "What is written")->type_name("TEXT")->required();
  AddLength(command, "--size", &watermark.size, photo::kLeastWatermarkSize, photo::kMostWatermarkSize,
            "Height of the letters in pixels, 4 to 1000; default 20");
  AddNumber(command, "--opacity", &watermark.opacity, 0, 1, "From 0, not to be seen, to 1; default 0.5");
  AddNumber(command, "--angle", &watermark.angle, -180, 180,
            "Degrees by which the lines rise to the right, -180 to 180; default 30");
  command
      .add_option_function<std::string>(
          "--color",
          [this](const std::string& text) {
            const auto colour = photo::ParseCssColour(text);
            if (!colour) throw CLI::ValidationError("--color", "must be a colour such as grey or #808080, not " + text);
            watermark.ink = {static_cast<uint8_t>(*colour), static_cast<uint8_t>(*colour >> 8),
                             static_cast<uint8_t>(*colour >> 16)};
          },
          "A CSS colour (grey, the default, or #rrggbb)")
      ->type_name("COLOUR");
  AddLength(command, "--space", &watermark.space, 0, photo::kMostWatermarkSpace,
            "Pixels between repetitions, 0 to 10000; default 25");
  AddWhole(command, "--max-kb", &maxKb, 1, 1'000'000, "Largest size of a JPEG file");
  AddWhole(command, "--dpi", &dpi, 72, 2400, "Pixels an inch, written into the file; default as it is, or 300");
}

void WatermarkOrder::AddChoices(CLI::App& command) {
  AddFormatOption(command, &format, "jpg (default) or png");
}

void WatermarkOrder::Settle() {
  photo::CheckWatermark(watermark);
}

WatermarkedFile WatermarkOrder::Mark(codec::FileSource& source) const {
  WatermarkedFile marked;
  marked.width = source.Width();
  marked.height = source.Height();
  marked.dpi = dpi.value_or(UsualDpi(source));
  photo::Image picture;
  photo::Mask opacity;
  if (auto transparent = format == codec::ImageFormat::kPng ? source.Transparent() : std::nullopt) {
    picture = std::move(transparent->colours);
    opacity = std::move(transparent->opacity);
  } else {
    picture = source.Whole();
  }
  photo::DrawWatermark(watermark, &picture);
  marked.file = codec::EncodeDocument(picture, format, marked.dpi, {}, maxKb, opacity);
  if (!marked.file.Remark().empty()) marked.remarks.push_back(marked.file.Remark());
  return marked;
}

std::string WatermarkOrder::Report(const std::string& photograph, const std::string& output,
                                   const WatermarkedFile& file) const {
  const Json report = {{"photograph", photograph},     {"output", output},       {"width", file.width},
                       {"height", file.height},        {"dpi", file.dpi},        {"bytes", file.file.bytes.size()},
                       {"quality", file.file.quality}, {"remarks", file.remarks}};
  return report.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Answer WatermarkOrder::Work(Materials materials, photo::Studio&) const {
  codec::FileSource source(std::move(materials.photo), limits);
  WatermarkedFile marked = Mark(source);
  const codec::PrintFormat kind = PrintFormatOf(format);
  const std::string name = StemOf(materials.photoName) + EndingOf(kind);
  Answer answer{{}, Report(materials.photoName, name, marked)};
  answer.pictures.push_back({name, kind, std::move(marked.file.bytes)});
  return answer;
}

}  // namespace qx::orders
