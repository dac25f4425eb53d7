#include "orders/background.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

#include "orders/compress.h"
#include "orders/options/common_options.h"
#include "orders/options/document_options.h"
#include "photo/base/failure.h"

namespace qx::orders {
using Json = nlohmann::ordered_json;
namespace {

// A file says one number for both directions.
std::optional<int32_t> DpiOf(const codec::FileSource& source) {
  const auto resolution = source.Resolution();
  if (!resolution || resolution->x != resolution->y) return std::nullopt;
  const double dpi = std::round(resolution->x);
  return dpi >= 1 && dpi <= 65535 ? std::optional(static_cast<int32_t>(dpi)) : std::nullopt;
}

}  // namespace

void BackgroundOrder::AddOptions(CLI::App& command) {
  AddBackgroundOption(command, &background,
                      "A CSS colour (white, lightblue, #rrggbb), gradient:COLOUR-COLOUR (top to bottom),"
                      " radial:COLOUR-COLOUR (middle to corners), or transparent");
  command.get_option("--background")->required();
  AddPersonOption(command, &person, "Number of the face, as inspect shows it; default the largest");
  command.add_flag("--pair", pair, "Two persons: the two largest faces");
  AddKeepRimFlag(command, &keepRim);
  AddWhole(command, "--max-kb", &maxKb, 1, 1'000'000, "Largest size of a JPEG file");
  AddWhole(command, "--dpi", &dpi, 72, 2400, "Pixels an inch, written into the file; default as it is");
}

void BackgroundOrder::AddChoices(CLI::App& command) {
  AddFormatOption(command, &format, "jpg (default) or png");
}

void BackgroundOrder::Settle() {
  wanted_ = photo::ParseBackground(background.value_or("keep"));
  if (wanted_.IsKeep()) {
    throw photo::Failure(photo::FailureCode::kBadOption,
                         "--background keep would change nothing; name a colour, a gradient or transparent",
                         {{"option", "background"}});
  }
  request_.persons = FacesOf(person, pair);
  request_.keepRim = keepRim;
  if (format) CheckTransparency(wanted_, *format, "choose --format png");
}

codec::ImageFormat BackgroundOrder::Format() const {
  if (format) return *format;
  return wanted_.IsTransparent() ? codec::ImageFormat::kPng : codec::ImageFormat::kJpeg;
}

BackgroundFile BackgroundOrder::Change(codec::FileSource& source, photo::Studio& studio) const {
  BackgroundFile file;
  photo::CutOut cutOut;
  if (auto picture = source.Transparent()) {
    file.wasTransparent = true;
    cutOut.colours = std::move(picture->colours);
    cutOut.mask = std::move(picture->opacity);
  } else {
    cutOut = studio.CutOut(source, request_);
  }
  file.width = cutOut.mask.width;
  file.height = cutOut.mask.height;
  file.remarks = std::move(cutOut.remarks);
  if (!wanted_.IsTransparent()) {
    cutOut.colours = photo::Composite(cutOut.colours, cutOut.mask, wanted_);
    cutOut.mask = photo::Mask();
  }
  const std::optional<int32_t> written = dpi ? dpi : DpiOf(source);
  if (!written && !maxKb) {
    file.bytes = codec::EncodeImage(cutOut.colours, Format(), cutOut.mask);
    return file;
  }
  auto document =
      codec::EncodeDocument(cutOut.colours, Format(), written.value_or(UsualDpi(source)), {}, maxKb, cutOut.mask);
  if (!document.Remark().empty()) file.remarks.push_back(document.Remark());
  file.bytes = std::move(document.bytes);
  return file;
}

std::string BackgroundOrder::Report(const std::string& photograph, const std::string& output,
                                    const BackgroundFile& file) const {
  const Json report = {{"photograph", photograph},   {"output", output},
                       {"width", file.width},        {"height", file.height},
                       {"bytes", file.bytes.size()}, {"was_transparent", file.wasTransparent},
                       {"remarks", file.remarks}};
  return report.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Answer BackgroundOrder::Work(Materials materials, photo::Studio& studio) const {
  codec::FileSource source(std::move(materials.photo), limits);
  BackgroundFile file = Change(source, studio);
  const codec::PrintFormat kind = PrintFormatOf(Format());
  const std::string name = StemOf(materials.photoName) + EndingOf(kind);
  Answer answer{{}, Report(materials.photoName, name, file)};
  answer.pictures.push_back({name, kind, std::move(file.bytes)});
  return answer;
}

}  // namespace qx::orders
