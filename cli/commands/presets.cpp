#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "orders/presets.h"
#include "photo/document/countries.h"
#include "photo/document/presets.h"

namespace qx::cli {
namespace {

std::string RangeText(const std::optional<photo::Range>& range) {
  return range ? photo::ToText(*range) : "-";
}

std::string KbText(const photo::Preset& preset) {
  if (!preset.maxKb) return preset.minKb ? "from " + std::to_string(*preset.minKb) : "-";
  return (preset.minKb ? std::to_string(*preset.minKb) + "-" : "up to ") + std::to_string(*preset.maxKb);
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

std::string ListText(const std::vector<const photo::Preset*>& presets) {
  size_t longest = 0;
  for (const photo::Preset* preset : presets) longest = std::max(longest, preset->name.size());
  const auto row = [longest](const std::string& name, const std::string& rest) {
    return name + std::string(std::max(longest, name.size()) - name.size() + 1, ' ') + rest + "\n";
  };
  std::string text = row("name", "size        pixels     dpi  head        background  changes  title");
  for (const photo::Preset* preset : presets) {
    const photo::Document document = photo::Derive(*preset);
    const std::string pixels = std::to_string(document.width) + "x" + std::to_string(document.height);
    char columns[200];
    std::snprintf(columns, sizeof columns, "%-11s %-9s %4d  %-11s %-11s %-8s ", photo::ToText(preset->size).c_str(),
                  pixels.c_str(), preset->dpi, RangeText(preset->head).c_str(), preset->backgrounds[0].c_str(),
                  preset->backgroundChange ? "allowed" : "no");
    text += row(preset->name, columns + preset->title + (preset->source == "remembered" ? " *" : ""));
  }
  return text + "* unverified: check with the authority before use. idphoto presets NAME shows all of one.\n";
}

// The lines of one document, a label before each value.
class Details {
 public:
  explicit Details(const photo::Preset& preset) : preset_(preset), text_(preset.name + ": " + preset.title + "\n") {}

  // Says so where the figure rests on no source.
  void Line(const char* label, const std::string& value, const char* figure = "") {
    const auto& unverified = preset_.unverified;
    const bool doubtful = std::find(unverified.begin(), unverified.end(), figure) != unverified.end();
    char head[40];
    std::snprintf(head, sizeof head, "  %-19s ", label);
    text_ += head + value + (doubtful ? " (unverified)" : "") + "\n";
  }
  const std::string& Text() const { return text_; }

 private:
  const photo::Preset& preset_;
  std::string text_;
};

void AddFigures(const photo::Preset& preset, Details& details) {
  const photo::Document document = photo::Derive(preset);
  details.Line("size",
               photo::ToText(preset.size) + ", " + std::to_string(document.width) + " x " +
                   std::to_string(document.height) + " pixels",
               "size");
  if (preset.printSize) details.Line("printed size", photo::ToText(*preset.printSize), "print_size");
  details.Line("resolution", std::to_string(preset.dpi) + " dpi", "dpi");
  details.Line("head", RangeText(preset.head), "head");
  if (preset.head) {
    details.Line("head measured to",
                 preset.headTo == photo::HeadTo::kHair ? "the top of the hair" : "the crown, without high hair",
                 "head_to");
  }
  details.Line("space above", RangeText(preset.top), "top");
  details.Line("eyes above edge", RangeText(preset.eyes), "eyes");
  details.Line("face width", RangeText(preset.faceWidth), "face_width");
  details.Line("file size in kB", KbText(preset), "max_kb");
  details.Line("backgrounds", Joined(preset.backgrounds), "backgrounds");
  details.Line("changed background", preset.backgroundChange ? "allowed" : "forbidden", "background_change");
  details.Line("retouching", preset.retouching ? "allowed" : "forbidden", "retouching");
}

void AddRules(const photo::PresetRules& rules, Details& details) {
  using photo::GlassesRule;
  using photo::HeadCoveringRule;
  using photo::SmileRule;
  if (rules.glasses) {
    details.Line("glasses", *rules.glasses == GlassesRule::kNoGlare ? "untinted, without glare, frame off the eyes"
                                                                    : NameOf(*rules.glasses));
  }
  if (rules.smile) {
    details.Line("smile", *rules.smile == SmileRule::kMouthClosed ? "slight, mouth closed" : NameOf(*rules.smile));
  }
  if (rules.headCovering) {
    details.Line("head covering", *rules.headCovering == HeadCoveringRule::kReligious
                                      ? "for religious or medical reasons only"
                                      : NameOf(*rules.headCovering));
  }
  if (!rules.children.empty()) details.Line("children", rules.children);
  details.Line("rules from", rules.source + " (read " + rules.read + ")");
}

std::string DetailText(const photo::Preset& preset) {
  Details details(preset);
  details.Line("authority", preset.authority);
  if (const photo::Country* country = photo::FindCountry(preset.country)) {
    details.Line("country", std::string(country->name) + " (" + std::string(country->code) + ")");
  }
  details.Line("kind",
               std::string(preset.upload ? "file to upload" : "print") + (preset.persons == 2 ? ", two persons" : ""));
  AddFigures(preset, details);
  if (preset.rules) AddRules(*preset.rules, details);
  details.Line("source", preset.source + ", read " + preset.read);
  for (const photo::PresetSource& source : preset.sources) {
    const std::string gives = source.gives.empty() ? "" : ": " + Joined(source.gives);
    const std::string contradicts = source.contradicts.empty() ? "" : "; contradicts " + Joined(source.contradicts);
    details.Line("figures from",
                 source.page + " (" + source.kind + ", read " + source.read + ")" + gives + contradicts);
  }
  if (!preset.note.empty()) details.Line("note", preset.note);
  return details.Text();
}

void ShowPresets(const orders::PresetsOrder& order, bool isJson) {
  std::string text;
  if (!order.name.empty()) {
    const photo::Preset& preset = photo::FindPreset(order.name);
    text = isJson ? orders::PresetJson(preset) + "\n" : DetailText(preset);
  } else {
    const std::vector<const photo::Preset*> presets = order.Found();
    text = isJson ? orders::PresetsJson(presets) + "\n" : ListText(presets);
  }
  std::fputs(text.c_str(), stdout);
}

}  // namespace

void AddPresetsCommand(CLI::App& app, int*) {
  struct Options {
    orders::PresetsOrder order;
    bool json = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("presets", "List the documents that photographs can be made for");
  CLI::Option* name =
      command->add_option("NAME", options->order.name, "One of them, with everything that is known of it")
          ->type_name("");
  options->order.AddOptions(*command);
  for (const char* other : {"--search", "--country"}) command->get_option(other)->excludes(name);
  command->add_flag("--json", options->json, "Print JSON instead of a table: all figures, their sources and rules");
  command->footer(
      "Head: from the chin to the crown or to the top of the hair, as the document says. Changes: whether the\n"
      "authority takes photographs whose background was replaced. Rules change: check with the authority before you\n"
      "hand in a photograph.\n\n"
      "Examples:\n"
      "  idphoto presets\n"
      "  idphoto presets --country IN\n"
      "  idphoto presets --search \"driving licence\"\n"
      "  idphoto presets cn-visa");
  command->callback([options] { AsSetup([&] { ShowPresets(options->order, options->json); }); });
}

}  // namespace qx::cli
