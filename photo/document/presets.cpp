#include "photo/document/presets.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <numeric>

#include "photo/base/failure.h"
#include "photo/base/text.h"

extern "C" const unsigned char qx_presets_json[], qx_presets_json_end[];

namespace qx::photo {
namespace {

using Json = nlohmann::json;

// Takes the fields of one JSON object, so that those nobody asked for are noticed.
class Fields {
 public:
  explicit Fields(const Json& object) : object_(object) {}

  template <typename Value>
  Value Take(const char* name) {
    ++taken_;
    return object_.at(name).get<Value>();
  }
  template <typename Value>
  std::optional<Value> TakeIfAny(const char* name) {
    if (!object_.contains(name)) return std::nullopt;
    return Take<Value>(name);
  }
  std::optional<Size> TakeSize(const char* name) {
    const auto text = TakeIfAny<std::string>(name);
    return text ? std::optional(ParseSize(*text)) : std::nullopt;
  }
  std::optional<Range> TakeRange(const char* name) {
    const auto text = TakeIfAny<std::string>(name);
    return text ? std::optional(ParseRange(*text)) : std::nullopt;
  }
  // One of two words; true for the first.
  bool TakeChoice(const char* name, std::string_view first, std::string_view second) {
    const auto word = Take<std::string>(name);
    if (word != first && word != second) throw Failure(FailureCode::kBadOption, "\"" + word + "\" is no " + name);
    return word == first;
  }
  void CheckAllTaken() const {
    if (taken_ != object_.size()) throw Failure(FailureCode::kBadOption, "there is a field of an unknown name");
  }

 private:
  const Json& object_;
  size_t taken_ = 0;
};

Preset ParsePreset(const Json& object) {
  Fields fields(object);
  Preset preset;
  preset.name = fields.Take<std::string>("name");
  preset.title = fields.Take<std::string>("title");
  preset.authority = fields.Take<std::string>("authority");
  preset.upload = fields.TakeChoice("kind", "upload", "print");
  preset.persons = fields.TakeIfAny<int32_t>("persons").value_or(1);
  preset.size = ParseSize(fields.Take<std::string>("size"));
  preset.pixels = fields.TakeSize("pixels");
  preset.printSize = fields.TakeSize("print_size");
  preset.dpi = fields.Take<int32_t>("dpi");
  preset.head = fields.TakeRange("head");
  preset.top = fields.TakeRange("top");
  preset.eyes = fields.TakeRange("eyes");
  preset.faceWidth = fields.TakeRange("face_width");
  preset.minKb = fields.TakeIfAny<int32_t>("min_kb");
  preset.maxKb = fields.TakeIfAny<int32_t>("max_kb");
  preset.backgrounds = fields.Take<std::vector<std::string>>("backgrounds");
  preset.backgroundChange = fields.TakeChoice("background_change", "allowed", "forbidden");
  preset.retouching = fields.TakeChoice("retouching", "allowed", "forbidden");
  preset.source = fields.Take<std::string>("source");
  preset.unverified = fields.Take<std::vector<std::string>>("unverified");
  preset.read = fields.Take<std::string>("read");
  preset.note = fields.TakeIfAny<std::string>("note").value_or("");
  fields.CheckAllTaken();
  return preset;
}

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

std::vector<Preset> ParsePresets(std::string_view json) {
  std::vector<Preset> presets;
  std::string name = "the file of presets";
  try {
    const Json list = Json::parse(json);
    for (const Json& object : list) {
      name = "preset " + std::to_string(presets.size() + 1);
      presets.push_back(ParsePreset(object));
    }
  } catch (const std::exception& exception) {  // the JSON library's, or a Failure of a field
    throw Failure(FailureCode::kBadOption, name + ": " + Printable(exception.what()));
  }
  return presets;
}

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
