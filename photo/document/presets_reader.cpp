// The file of presets, read strictly: a slip in it is a wrong photograph for everybody who uses that document.
#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/document/countries.h"
#include "photo/document/presets.h"

namespace qx::photo {
namespace {

using Json = nlohmann::json;

constexpr size_t kMonth = 7, kDay = 10;  // lengths of dates

constexpr const char* kFigures[] = {
    "size", "pixels",     "print_size", "dpi",    "head",        "head_to",           "top",
    "eyes", "face_width", "min_kb",     "max_kb", "backgrounds", "background_change", "retouching"};
constexpr const char* kKinds[] = {"print", "upload"};
constexpr const char* kPolicies[] = {"forbidden", "allowed"};
constexpr const char* kSources[] = {"authority", "copy", "secondary", "remembered"};
constexpr const char* kPages[] = {"authority", "copy", "secondary"};
// In the order of their enumerations.
constexpr const char* kHeadTo[] = {"crown", "hair"};
constexpr const char* kGlassesRules[] = {"allowed", "no_glare", "forbidden"};
constexpr const char* kSmileRules[] = {"allowed", "mouth_closed", "forbidden"};
constexpr const char* kHeadCoveringRules[] = {"allowed", "religious", "forbidden"};

// Whether "2026-11-21" or "2026-11" is a day or month of the calendar.
bool IsDate(std::string_view text) {
  for (size_t i = 0; i < text.size(); ++i) {
    if (i == 4 || i == 7 ? text[i] != '-' : text[i] < '0' || text[i] > '9') return false;
  }
  const auto number = [text](size_t at) { return 10 * (text[at] - '0') + text[at + 1] - '0'; };
  const int month = number(5);
  if (month < 1 || month > 12) return false;
  if (text.size() == kMonth) return true;
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = month == 2 && number(2) % 4 == 0;  // of the years of this century
  return number(8) >= 1 && number(8) <= kDays[month - 1] + (leap ? 1 : 0);
}

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
  // The place of the field's word among those that it may be.
  template <typename Words>
  size_t TakeChoice(const char* name, const Words& words) {
    const auto word = Take<std::string>(name);
    const auto* found = std::find(std::begin(words), std::end(words), word);
    if (found == std::end(words)) throw Failure(FailureCode::kBadOption, "\"" + word + "\" is no " + name);
    return static_cast<size_t>(found - std::begin(words));
  }
  template <typename Rule, typename Words>
  std::optional<Rule> TakeRuleIfAny(const char* name, const Words& words) {
    if (!object_.contains(name)) return std::nullopt;
    return static_cast<Rule>(TakeChoice(name, words));
  }
  // A day, "2026-11-21", or a month, "2026-11".
  std::string TakeDate(const char* name, size_t length) {
    auto text = Take<std::string>(name);
    if (text.size() != length || !IsDate(text)) {
      throw Failure(FailureCode::kBadOption, "\"" + text + "\" is no date for " + name);
    }
    return text;
  }
  // The address of a page on the web.
  std::string TakePage(const char* name) {
    auto text = Take<std::string>(name);
    const bool web = text.rfind("https://", 0) == 0 || text.rfind("http://", 0) == 0;
    if (!web || text.find_first_of(" \"<>") != std::string::npos) {
      throw Failure(FailureCode::kBadOption, "\"" + text + "\" is no address for " + name);
    }
    return text;
  }
  // Names of figures that the preset has, each once.
  std::vector<std::string> TakeFigures(const char* name, const Json& preset) {
    auto figures = Take<std::vector<std::string>>(name);
    for (auto figure = figures.begin(); figure != figures.end(); ++figure) {
      const bool known = std::find(std::begin(kFigures), std::end(kFigures), *figure) != std::end(kFigures);
      if (!known || !preset.contains(*figure) || std::find(figures.begin(), figure, *figure) != figure) {
        throw Failure(FailureCode::kBadOption, "\"" + *figure + "\" is no figure of it, or stands twice in " + name);
      }
    }
    return figures;
  }
  void CheckAllTaken() const {
    if (taken_ != object_.size()) throw Failure(FailureCode::kBadOption, "there is a field of an unknown name");
  }

 private:
  const Json& object_;
  size_t taken_ = 0;
};

PresetSource ParseSource(const Json& object, const Json& preset) {
  Fields fields(object);
  PresetSource source;
  source.page = fields.TakePage("page");
  source.kind = kPages[fields.TakeChoice("kind", kPages)];
  source.read = fields.TakeDate("read", kDay);
  source.gives = fields.TakeFigures("gives", preset);
  if (object.contains("contradicts")) source.contradicts = fields.TakeFigures("contradicts", preset);
  fields.CheckAllTaken();
  return source;
}

PresetRules ParseRules(const Json& object) {
  Fields fields(object);
  PresetRules rules;
  rules.glasses = fields.TakeRuleIfAny<GlassesRule>("glasses", kGlassesRules);
  rules.smile = fields.TakeRuleIfAny<SmileRule>("smile", kSmileRules);
  rules.headCovering = fields.TakeRuleIfAny<HeadCoveringRule>("head_covering", kHeadCoveringRules);
  rules.children = fields.TakeIfAny<std::string>("children").value_or("");
  rules.source = fields.TakePage("source");
  rules.read = fields.TakeDate("read", kDay);
  fields.CheckAllTaken();
  return rules;
}

std::string ParseCountry(const std::optional<std::string>& code) {
  if (code && (!FindCountry(*code) || FindCountry(*code)->code != *code)) {
    throw Failure(FailureCode::kBadOption, "\"" + *code + "\" is no country");
  }
  return code.value_or("");
}

// Where the authority does not say what its length of the head counts, the usual is taken and said to be no more.
void TakeHeadTo(const Json& object, Fields* fields, Preset* preset) {
  if (object.contains("head_to")) {
    if (!preset->head) throw Failure(FailureCode::kBadOption, "there is a head_to without a head");
    preset->headTo = static_cast<HeadTo>(fields->TakeChoice("head_to", kHeadTo));
  } else if (preset->head) {
    preset->unverified.emplace_back("head_to");
  }
}

Preset ParsePreset(const Json& object) {
  Fields fields(object);
  Preset preset;
  preset.name = fields.Take<std::string>("name");
  preset.title = fields.Take<std::string>("title");
  preset.authority = fields.Take<std::string>("authority");
  preset.country = ParseCountry(fields.TakeIfAny<std::string>("country"));
  preset.upload = fields.TakeChoice("kind", kKinds) == 1;
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
  preset.backgroundChange = fields.TakeChoice("background_change", kPolicies) == 1;
  preset.retouching = fields.TakeChoice("retouching", kPolicies) == 1;
  preset.source = kSources[fields.TakeChoice("source", kSources)];
  preset.unverified = fields.TakeFigures("unverified", object);
  TakeHeadTo(object, &fields, &preset);
  preset.read = fields.TakeDate("read", kMonth);
  if (const auto sources = fields.TakeIfAny<std::vector<Json>>("sources")) {
    for (const Json& source : *sources) preset.sources.push_back(ParseSource(source, object));
  }
  if (const auto rules = fields.TakeIfAny<Json>("rules")) preset.rules = ParseRules(*rules);
  preset.note = fields.TakeIfAny<std::string>("note").value_or("");
  fields.CheckAllTaken();
  return preset;
}

}  // namespace

const char* NameOf(HeadTo end) {
  return kHeadTo[static_cast<size_t>(end)];
}

HeadTo ParseHeadTo(std::string_view name) {
  const auto* found = std::find(std::begin(kHeadTo), std::end(kHeadTo), name);
  if (found == std::end(kHeadTo)) {
    throw Failure(FailureCode::kBadOption, "\"" + Printable(name) + "\" is neither crown nor hair");
  }
  return static_cast<HeadTo>(found - std::begin(kHeadTo));
}

const char* NameOf(GlassesRule rule) {
  return kGlassesRules[static_cast<size_t>(rule)];
}

const char* NameOf(SmileRule rule) {
  return kSmileRules[static_cast<size_t>(rule)];
}

const char* NameOf(HeadCoveringRule rule) {
  return kHeadCoveringRules[static_cast<size_t>(rule)];
}

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

}  // namespace qx::photo
