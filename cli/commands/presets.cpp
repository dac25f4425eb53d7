#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "cli/commands/commands.h"
#include "cli/wording.h"
#include "photo/base/failure.h"
#include "photo/document/presets.h"

namespace qx::cli {
using Json = nlohmann::ordered_json;
namespace {

struct PresetsOptions {
  std::string name;  // empty: all
  bool json = false;
};

std::string RangeText(const std::optional<photo::Range>& range) {
  return range ? photo::ToText(*range) : "-";
}

std::string KbText(const photo::Preset& preset) {
  if (!preset.maxKb) return preset.minKb ? "from " + std::to_string(*preset.minKb) : "-";
  return (preset.minKb ? std::to_string(*preset.minKb) + "-" : "up to ") + std::to_string(*preset.maxKb);
}

Json ToJson(const photo::Preset& preset) {
  const photo::Document document = photo::Derive(preset);
  Json json = {{"name", preset.name},
               {"title", preset.title},
               {"authority", preset.authority},
               {"kind", preset.upload ? "upload" : "print"},
               {"persons", preset.persons},
               {"size", photo::ToText(preset.size)},
               {"dpi", preset.dpi},
               {"width_px", document.width},
               {"height_px", document.height}};
  const auto add = [&json](const char* name, const std::optional<photo::Range>& range,
                           const std::optional<photo::Fraction>& fraction) {
    if (range) json[name] = {{"published", photo::ToText(*range)}, {"min", fraction->min}, {"max", fraction->max}};
  };
  add("head", preset.head, document.head);
  add("top", preset.top, document.top);
  add("eyes", preset.eyes, document.eyes);
  add("face_width", preset.faceWidth, document.faceWidth);
  if (preset.minKb) json["min_kb"] = *preset.minKb;
  if (preset.maxKb) json["max_kb"] = *preset.maxKb;
  json["backgrounds"] = preset.backgrounds;
  json["background_change_allowed"] = preset.backgroundChange;
  json["retouching_allowed"] = preset.retouching;
  json["source"] = preset.source;
  json["read"] = preset.read;
  json["unverified"] = preset.unverified;
  if (!preset.note.empty()) json["note"] = preset.note;
  return json;
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

std::string ListText() {
  std::string text = "name                    size        pixels     dpi  head        background  changes  title\n";
  for (const photo::Preset& preset : photo::Presets()) {
    const photo::Document document = photo::Derive(preset);
    const std::string pixels = std::to_string(document.width) + "x" + std::to_string(document.height);
    char row[400];
    std::snprintf(row, sizeof row, "%-23s %-11s %-9s %4d  %-11s %-11s %-8s %s%s\n", preset.name.c_str(),
                  photo::ToText(preset.size).c_str(), pixels.c_str(), preset.dpi, RangeText(preset.head).c_str(),
                  preset.backgrounds[0].c_str(), preset.backgroundChange ? "allowed" : "no", preset.title.c_str(),
                  preset.source == "remembered" ? " *" : "");
    text += row;
  }
  return text + "* unverified: check with the authority before use. idphoto presets NAME shows all of one.\n";
}

std::string DetailText(const photo::Preset& preset) {
  const photo::Document document = photo::Derive(preset);
  std::string text = preset.name + ": " + preset.title + "\n";
  const auto line = [&text, &preset](const char* label, const std::string& value, const char* field = "") {
    const bool unverified =
        std::find(preset.unverified.begin(), preset.unverified.end(), field) != preset.unverified.end();
    char head[40];
    std::snprintf(head, sizeof head, "  %-19s ", label);
    text += head + value + (unverified ? " (unverified)" : "") + "\n";
  };
  line("authority", preset.authority);
  line("kind", std::string(preset.upload ? "file to upload" : "print") + (preset.persons == 2 ? ", two persons" : ""));
  line("size",
       photo::ToText(preset.size) + ", " + std::to_string(document.width) + " x " + std::to_string(document.height) +
           " pixels",
       "size");
  line("resolution", std::to_string(preset.dpi) + " dpi", "dpi");
  line("head", RangeText(preset.head), "head");
  line("space above", RangeText(preset.top), "top");
  line("eyes above edge", RangeText(preset.eyes), "eyes");
  line("face width", RangeText(preset.faceWidth), "face_width");
  line("file size in kB", KbText(preset), "max_kb");
  line("backgrounds", Joined(preset.backgrounds), "backgrounds");
  line("changed background", preset.backgroundChange ? "allowed" : "forbidden", "background_change");
  line("retouching", preset.retouching ? "allowed" : "forbidden", "retouching");
  line("source", preset.source + ", read " + preset.read);
  if (!preset.note.empty()) line("note", preset.note);
  return text;
}

void ShowPresets(const PresetsOptions& options) {
  std::string text;
  if (!options.name.empty()) {
    const photo::Preset& preset = photo::FindPreset(options.name);
    text = options.json ? ToJson(preset).dump() + "\n" : DetailText(preset);
  } else if (options.json) {
    Json list = Json::array();
    for (const photo::Preset& preset : photo::Presets()) list.push_back(ToJson(preset));
    text = list.dump() + "\n";
  } else {
    text = ListText();
  }
  std::fputs(text.c_str(), stdout);
}

}  // namespace

void AddPresetsCommand(CLI::App& app, int*) {
  auto options = std::make_shared<PresetsOptions>();
  CLI::App* command = app.add_subcommand("presets", "List the documents that photographs can be made for");
  command->add_option("NAME", options->name, "One of them, with everything that is known of it")->type_name("");
  command->add_flag("--json", options->json, "Print JSON instead of a table; bounds also as fractions");
  command->footer(
      "Head: top of the hair to the chin. Changes: whether the authority takes photographs whose background was\n"
      "replaced. Rules change: check with the authority before you hand in a photograph.\n\n"
      "Examples:\n"
      "  idphoto presets\n"
      "  idphoto presets cn-visa");
  command->callback([options] {
    try {
      ShowPresets(*options);
    } catch (const photo::Failure& failure) {
      throw SetupFailure(Wording(failure));
    }
  });
}

}  // namespace qx::cli
