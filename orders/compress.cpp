#include "orders/compress.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

#include "orders/options/common_options.h"
#include "photo/base/failure.h"

namespace qx::orders {
using Json = nlohmann::ordered_json;

int32_t UsualDpi(const codec::FileSource& source) {
  constexpr int32_t kUsual = 300, kMost = 65535;  // as documents have, and as files can hold
  const auto resolution = source.Resolution();
  return resolution ? static_cast<int32_t>(std::clamp(std::round(resolution->x), 1.0, 1.0 * kMost)) : kUsual;
}

void CompressOrder::AddOptions(CLI::App& command) {
  AddWhole(command, "--max-kb", &maxKb, 1, 1'000'000, "Largest size of the file");
  AddWhole(command, "--min-kb", &minKb, 1, 1'000'000, "Least size of the file");
  AddWhole(command, "--dpi", &dpi, 72, 2400, "Pixels an inch, written into the file; default as it is, or 300");
}

void CompressOrder::AddChoices(CLI::App& command) {
  AddFormatOption(command, &format, "jpg (default) or png");
}

void CompressOrder::Settle() {
  if (!minKb && !maxKb && !dpi) {
    throw photo::Failure(photo::FailureCode::kBadOption, "give --max-kb, --min-kb or --dpi", {{"option", "max-kb"}});
  }
  if (minKb && maxKb && *minKb > *maxKb) {
    throw photo::Failure(photo::FailureCode::kBadOption, "the least size is above the largest; turn them round",
                         {{"option", "min-kb"}});
  }
}

void CompressOrder::Encode(codec::FileSource& source, CompressedFile* compressed) const {
  const photo::Image photograph = source.Whole();  // also says whether the file is sound
  if (format == codec::ImageFormat::kPng) {
    const auto picture = source.Transparent();
    compressed->file = codec::EncodeDocument(picture ? picture->colours : photograph, format, compressed->dpi, minKb,
                                             maxKb, picture ? picture->opacity : photo::Mask());
    compressed->keepsPixels = true;
    return;
  }
  auto repacked = source.Repacked(compressed->dpi, minKb, maxKb);
  compressed->keepsPixels = repacked.has_value();
  compressed->file =
      repacked ? std::move(*repacked) : codec::EncodeDocument(photograph, format, compressed->dpi, minKb, maxKb);
}

CompressedFile CompressOrder::Compress(codec::FileSource& source) const {
  CompressedFile compressed;
  compressed.width = source.Width();
  compressed.height = source.Height();
  compressed.dpi = dpi.value_or(UsualDpi(source));
  try {
    Encode(source, &compressed);
  } catch (const photo::Failure& failure) {
    if (failure.Code() != photo::FailureCode::kFileSize) throw;
    throw photo::Failure(failure.Code(), failure.what(), {{"what", "picture"}});
  }
  if (!compressed.file.Remark().empty()) compressed.remarks.push_back(compressed.file.Remark());
  const bool isNew = !compressed.keepsPixels && !compressed.file.limited;
  if (isNew) compressed.remarks.push_back("compressed anew, JPEG quality " + std::to_string(compressed.file.quality));
  return compressed;
}

std::string CompressOrder::Report(const std::string& photograph, const std::string& output,
                                  const CompressedFile& file) const {
  const Json report = {{"photograph", photograph},
                       {"output", output},
                       {"width", file.width},
                       {"height", file.height},
                       {"dpi", file.dpi},
                       {"bytes", file.file.bytes.size()},
                       {"quality", file.file.quality},
                       {"padding", file.file.padding},
                       {"pixels_kept", file.keepsPixels},
                       {"remarks", file.remarks}};
  return report.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Answer CompressOrder::Work(Materials materials, photo::Studio&) const {
  codec::FileSource source(std::move(materials.photo), limits);
  CompressedFile compressed = Compress(source);
  const codec::PrintFormat kind = PrintFormatOf(format);
  const std::string name = StemOf(materials.photoName) + EndingOf(kind);
  Answer answer{{}, Report(materials.photoName, name, compressed)};
  answer.pictures.push_back({name, kind, std::move(compressed.file.bytes)});
  return answer;
}

}  // namespace qx::orders
