#include "orders/presets.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <optional>

#include "photo/base/failure.h"
#include "photo/document/countries.h"
#include "photo/document/preset_search.h"

namespace qx::orders {
using Json = nlohmann::ordered_json;
namespace {

Json ToJson(const photo::PresetSource& source) {
  Json json = {{"page", source.page}, {"kind", source.kind}, {"read", source.read}, {"gives", source.gives}};
  if (!source.contradicts.empty()) json["contradicts"] = source.contradicts;
  return json;
}

Json ToJson(const photo::PresetRules& rules) {
  Json json = Json::object();
  if (rules.glasses) json["glasses"] = NameOf(*rules.glasses);
  if (rules.smile) json["smile"] = NameOf(*rules.smile);
  if (rules.headCovering) json["head_covering"] = NameOf(*rules.headCovering);
  if (!rules.children.empty()) json["children"] = rules.children;
  json["source"] = rules.source;
  json["read"] = rules.read;
  return json;
}

// Lengths and limits.
void AddFigures(const photo::Preset& preset, Json& json) {
  const photo::Document document = photo::Derive(preset);
  json["size"] = photo::ToText(preset.size);
  if (preset.pixels) json["pixels"] = photo::ToText(*preset.pixels);
  if (preset.printSize) json["print_size"] = photo::ToText(*preset.printSize);
  json["dpi"] = preset.dpi;
  json["width_px"] = document.width;
  json["height_px"] = document.height;
  const auto add = [&json](const char* name, const std::optional<photo::Range>& range,
                           const std::optional<photo::Fraction>& fraction) {
    if (range) json[name] = {{"published", photo::ToText(*range)}, {"min", fraction->min}, {"max", fraction->max}};
  };
  add("head", preset.head, document.head);
  if (preset.head) json["head_to"] = NameOf(preset.headTo);
  add("top", preset.top, document.top);
  add("eyes", preset.eyes, document.eyes);
  add("face_width", preset.faceWidth, document.faceWidth);
  if (preset.minKb) json["min_kb"] = *preset.minKb;
  if (preset.maxKb) json["max_kb"] = *preset.maxKb;
}

Json ToJson(const photo::Preset& preset) {
  Json json = {{"name", preset.name}, {"title", preset.title}, {"authority", preset.authority}};
  if (const photo::Country* country = photo::FindCountry(preset.country)) {
    json["country"] = country->code;
    json["country_name"] = country->name;
  }
  json["kind"] = preset.upload ? "upload" : "print";
  json["persons"] = preset.persons;
  AddFigures(preset, json);
  json["backgrounds"] = preset.backgrounds;
  json["background_change_allowed"] = preset.backgroundChange;
  json["retouching_allowed"] = preset.retouching;
  json["source"] = preset.source;
  json["read"] = preset.read;
  json["unverified"] = preset.unverified;
  json["sources"] = Json::array();
  for (const photo::PresetSource& source : preset.sources) json["sources"].push_back(ToJson(source));
  if (preset.rules) json["rules"] = ToJson(*preset.rules);
  if (!preset.note.empty()) json["note"] = preset.note;
  return json;
}

}  // namespace

std::string PresetJson(const photo::Preset& preset) {
  return ToJson(preset).dump();
}

std::string PresetsJson(const std::vector<const photo::Preset*>& presets) {
  Json list = Json::array();
  for (const photo::Preset* preset : presets) list.push_back(ToJson(*preset));
  return list.dump();
}

void PresetsOrder::AddOptions(CLI::App& command) {
  command.add_option("--search", search, "Those with these words in name, title, country or authority")
      ->type_name("TEXT");
  command.add_option("--country", country, "Those of a country, by its code in ISO 3166, such as DE")->type_name("CC");
}

void PresetsOrder::AddChoices(CLI::App& command) {
  CLI::Option* one = command.add_option("--name", name, "One of them")->type_name("NAME");
  for (const char* other : {"--search", "--country"}) command.get_option(other)->excludes(one);
}

void PresetsOrder::Settle() {
  if (name.empty()) {
    Found();
  } else {
    photo::FindPreset(name);
  }
}

std::vector<const photo::Preset*> PresetsOrder::Found() const {
  return photo::SearchPresets(search, country);
}

Answer PresetsOrder::Work(Materials, photo::Studio&) const {
  return {{}, name.empty() ? PresetsJson(Found()) : PresetJson(photo::FindPreset(name))};
}

}  // namespace qx::orders
