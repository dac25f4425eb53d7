#include "orders/make.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

#include "orders/options/common_options.h"
#include "photo/base/failure.h"
#include "photo/render/retouch.h"

namespace qx::orders {
using Json = nlohmann::ordered_json;
namespace {

constexpr int kPreviewQuality = 90;  // no difference is seen, and the file is half as large

double Millimetres(double fraction, double whole) {
  return std::round(fraction * whole * 100) / 100;
}

// Of transparent ones, both before white.
photo::Image Comparison(const photo::MadePhoto& made) {
  if (made.alpha.values.empty()) return photo::SideBySide(*made.before, made.image);
  return photo::SideBySide(photo::Composite(*made.before, made.alphaBefore, photo::Background()),
                           photo::Composite(made.image, made.alpha, photo::Background()));
}

}  // namespace

void MakeOrder::AddOptions(CLI::App& command) {
  AddMakeOptions(command, &document);
  AddPersonOption(command, &person, "Number of the face, as inspect shows it; default the largest");
  AddCompareFlag(command, &compare);
  command.add_flag("--pair", pair, "Two persons in one photograph; of the bounds only the size counts");
}

void MakeOrder::AddChoices(CLI::App& command) {
  AddFormatOption(command, &format, "jpg (default) or png");
  command.add_flag("--own-size", ownSize, "The same cut as a second picture, with the photograph's own pixels");
}

void MakeOrder::Settle() {
  faces_ = FacesOf(person, pair);
  const photo::Preset preset = PresetOf(document);
  request_ = RequestOf(document);
  request_.compare = compare;
  if (preset.persons == 2 && !pair) {
    throw photo::Failure(photo::FailureCode::kBadOption, preset.name + " shows two persons; add --pair",
                         {{"option", "pair"}});
  }
  const bool isKept = request_.background.IsKeep() && !document.background;
  keptRemark_ = isKept ? "background kept: " + preset.authority + " takes no changed one" : "";
  if (format) CheckTransparency(request_.background, *format, "choose --format png");
}

codec::ImageFormat MakeOrder::Format() const {
  if (format) return *format;
  return request_.background.IsTransparent() ? codec::ImageFormat::kPng : codec::ImageFormat::kJpeg;
}

MadeFile MakeOrder::Finish(photo::MadePhoto made) const {
  const photo::Document& wanted = request_.document;
  MadeFile finished{std::move(made), {}, {}};
  photo::MadePhoto& photograph = finished.made;
  finished.file =
      codec::EncodeDocument(photograph.image, Format(), wanted.dpi, wanted.minKb, wanted.maxKb, photograph.alpha);
  if (!finished.file.Remark().empty()) photograph.remarks.push_back(finished.file.Remark());
  if (!keptRemark_.empty()) photograph.remarks.push_back(keptRemark_);
  if (photograph.before) finished.comparison = codec::EncodeImage(Comparison(photograph), Format());
  return finished;
}

std::string MakeOrder::Report(const std::string& photograph, const std::string& output, const MadeFile& file) const {
  const photo::Document& wanted = request_.document;
  const photo::MadePhoto& made = file.made;
  Json report = {{"photograph", photograph},
                 {"output", output},
                 {"width", wanted.width},
                 {"height", wanted.height},
                 {"dpi", wanted.dpi},
                 {"bytes", file.file.bytes.size()},
                 {"quality", file.file.quality},
                 {"padding", file.file.padding},
                 {"quarter_turns", made.quarterTurns},
                 {"lean_degrees", std::round(made.lean * 100) / 100},
                 {"straightened_degrees", std::round(made.straightened * 100) / 100},
                 {"turned_degrees", request_.framing.turnedBy},
                 {"zoom", request_.framing.zoom},
                 {"offset_x", request_.framing.offsetX},
                 {"offset_y", request_.framing.offsetY},
                 {"enlargement", std::round(made.enlargement * 1000) / 1000},
                 {"retouched", !RetouchOf(document.retouch).IsNone()},
                 {"adjusted", !AdjustmentOf(document.adjust).IsNone()}};
  if (!pair) {
    report["head_mm"] = Millimetres(made.measures.Head(wanted.headTo), wanted.heightMm);
    report["head_to"] = NameOf(wanted.headTo);
    report["head_to_crown_mm"] = Millimetres(made.measures.head, wanted.heightMm);
    report["head_with_hair_mm"] = Millimetres(made.measures.headWithHair, wanted.heightMm);
    report["top_mm"] = Millimetres(made.measures.top, wanted.heightMm);
    report["eyes_mm"] = Millimetres(made.measures.eyes, wanted.heightMm);
    report["face_width_mm"] = Millimetres(made.measures.faceWidth, wanted.widthMm);
  }
  report["relaxed"] = !made.givenUp.empty();
  report["remarks"] = made.remarks;
  report["reasons"] = ReasonNames(made);
  return report.dump(-1, ' ', false, Json::error_handler_t::replace);
}

MadeLine MakeOrder::LineOf(const MadeFile& file) const {
  const photo::MadePhoto& made = file.made;
  // What is true of every photograph comes first.
  MadeLine line{keptRemark_, ReasonNames(made), {{"bytes", static_cast<double>(file.file.bytes.size())}}};
  for (const std::string& remark : made.remarks) {
    if (remark != keptRemark_) line.message += (line.message.empty() ? "" : "; ") + remark;
  }
  if (pair) return line;
  const photo::Document& wanted = request_.document;
  line.measures.insert(line.measures.end(), {{"head_mm", made.measures.Head(wanted.headTo) * wanted.heightMm},
                                             {"head_to_crown_mm", made.measures.head * wanted.heightMm},
                                             {"head_with_hair_mm", made.measures.headWithHair * wanted.heightMm},
                                             {"top_mm", made.measures.top * wanted.heightMm},
                                             {"eyes_mm", made.measures.eyes * wanted.heightMm},
                                             {"straightened_degrees", made.straightened},
                                             {"face_width_mm", made.measures.faceWidth * wanted.widthMm}});
  return line;
}

Answer MakeOrder::AnswerOf(const std::string& photoName, const MadeFile& file) const {
  const codec::PrintFormat kind = PrintFormatOf(Format());
  const std::string stem = StemOf(photoName);
  Answer answer;
  answer.report = Report(photoName, stem + EndingOf(kind), file);
  answer.pictures.push_back({stem + EndingOf(kind), kind, file.file.bytes});
  if (!file.comparison.empty()) {
    answer.pictures.push_back({stem + "-compare" + EndingOf(kind), kind, file.comparison});
  }
  return answer;
}

Picture MakeOrder::Preview(const std::string& photoName, const photo::MadePhoto& made) const {
  const bool isTransparent = !made.alpha.values.empty();
  const codec::PrintFormat kind = isTransparent ? codec::PrintFormat::kPng : codec::PrintFormat::kJpeg;
  return {StemOf(photoName) + EndingOf(kind), kind,
          isTransparent ? codec::EncodeImage(made.image, codec::ImageFormat::kPng, made.alpha)
                        : codec::EncodeForScreen(made.image, kPreviewQuality)};
}

Picture MakeOrder::OwnSize(const std::string& photoName, double enlargement, codec::FileSource& source,
                           photo::Analysis& analysis, photo::Studio& studio) const {
  constexpr double kMostPixels = 24e6;  // what a child process has memory for
  photo::MakeRequest request = request_;
  request.compare = false;
  int32_t &width = request.document.width, &height = request.document.height;
  const double most = std::sqrt(kMostPixels / (1.0 * width * height));
  const double scale = std::max(1.0, std::min(1 / enlargement, most));
  width = static_cast<int32_t>(std::lround(width * scale));
  height = static_cast<int32_t>(std::lround(height * scale));
  const photo::MadePhoto made = studio.Render(source, analysis, request);
  const codec::PrintFormat kind = PrintFormatOf(Format());
  return {StemOf(photoName) + "-own-size" + EndingOf(kind), kind,
          codec::EncodeDocument(made.image, Format(), request.document.dpi, {}, {}, made.alpha).bytes};
}

Answer MakeOrder::Work(Materials materials, photo::Studio& studio) const {
  codec::FileSource source(std::move(materials.photo), limits);
  photo::Mask mask;
  const bool isGiven = !materials.mask.empty();
  if (isGiven) mask = GivenMask(std::move(materials.mask), source);
  Steps steps;
  photo::Analysis analysis =
      Timed(&steps.analysis, [&] { return studio.Analyse(source, faces_, isGiven ? &mask : nullptr); });
  photo::MadePhoto made = Timed(&steps.rendering, [&] { return studio.Render(source, analysis, request_); });
  const double enlargement = made.enlargement;
  const MadeFile file = Timed(&steps.encoding, [&] { return Finish(std::move(made)); });
  Answer answer = AnswerOf(materials.photoName, file);
  if (ownSize) {
    answer.pictures.push_back(
        Timed(&steps.rendering, [&] { return OwnSize(materials.photoName, enlargement, source, analysis, studio); }));
  }
  answer.steps = steps;
  return answer;
}

}  // namespace qx::orders
