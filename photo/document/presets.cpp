#include "photo/document/presets.h"

#include <algorithm>
#include <numeric>

#include "photo/base/failure.h"
#include "photo/base/text.h"

extern "C" const unsigned char qx_presets_json[], qx_presets_json_end[];

namespace qx::photo {
namespace {

std::optional<Fraction> ToFraction(const std::optional<Range>& range, double wholeMm, const char* name) {
  if (!range) return std::nullopt;
  const double whole = range->unit == Unit::kPercent ? 100 : wholeMm;
  if (range->max > whole) {
    throw Failure(FailureCode::kBadOption, std::string("the ") + name + " of " + ToText(*range) +
                                               " does not fit into " + Decimal(wholeMm) + " mm; choose another");
  }
  return Fraction{range->min / whole, range->max / whole};
}

// Number of single-letter edits that lead from one name to the other (Levenshtein distance).
size_t EditDistance(std::string_view from, std::string_view to) {
  std::vector<size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < from.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i + 1;
    for (size_t k = 0; k < to.size(); ++k) {
      const size_t replaced = diagonal + (from[i] == to[k] ? 0 : 1);
      diagonal = row[k + 1];
      row[k + 1] = std::min({replaced, row[k] + 1, row[k + 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

const std::vector<Preset>& Presets() {
  static const std::vector<Preset> presets = ParsePresets(
      {reinterpret_cast<const char*>(qx_presets_json), static_cast<size_t>(qx_presets_json_end - qx_presets_json)});
  return presets;
}

const Preset& FindPreset(std::string_view name) {
  std::string similar;
  for (const Preset& preset : Presets()) {
    if (preset.name == name) return preset;
    const bool part = name.size() >= 2 && preset.name.find(name) != std::string::npos;
    if (part || EditDistance(name, preset.name) <= 2) similar += (similar.empty() ? "" : ", ") + preset.name;
  }
  throw Failure(
      FailureCode::kUnknownPreset,
      "there is no preset \"" + Printable(name) + "\"" + (similar.empty() ? "" : "; did you mean " + similar + "?"),
      similar.empty() ? FailureFields() : FailureFields{{"similar", similar}});
}

Document Derive(const Preset& preset) {
  Document document;
  document.dpi = preset.dpi;
  const bool inPixels = preset.size.unit == Unit::kPixel;
  const double dpi = preset.dpi;
  document.width = inPixels ? static_cast<int32_t>(preset.size.width) : ToPixels(preset.size.width, dpi);
  document.height = inPixels ? static_cast<int32_t>(preset.size.height) : ToPixels(preset.size.height, dpi);
  if (document.width < 1 || document.height < 1 || int64_t{document.width} * document.height > kMostDocumentPixels) {
    throw Failure(FailureCode::kBadOption,
                  "a photograph of " + ToText(preset.size) + " at " + std::to_string(preset.dpi) +
                      " dpi has no sensible number of pixels; change the size or the resolution");
  }
  const Size inMm =
      inPixels ? Size{ToMillimetres(preset.size.width, dpi), ToMillimetres(preset.size.height, dpi)} : preset.size;
  const Size reference = preset.printSize.value_or(inMm);
  document.widthMm = reference.width;
  document.heightMm = reference.height;
  document.head = ToFraction(preset.head, reference.height, "head length");
  document.top = ToFraction(preset.top, reference.height, "top margin");
  document.eyes = ToFraction(preset.eyes, reference.height, "eye height");
  document.headTo = preset.headTo;
  document.faceWidth = ToFraction(preset.faceWidth, reference.width, "face width");
  document.minKb = preset.minKb;
  document.maxKb = preset.maxKb;
  if (document.minKb && document.maxKb && *document.minKb > *document.maxKb) {
    throw Failure(FailureCode::kBadOption, "the least size of " + std::to_string(*document.minKb) +
                                               " kB is above the largest, " + std::to_string(*document.maxKb) + " kB");
  }
  return document;
}

}  // namespace qx::photo
