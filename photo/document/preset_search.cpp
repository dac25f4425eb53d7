#include "photo/document/preset_search.h"

#include <string>
#include <utility>

#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/document/countries.h"

namespace qx::photo {
namespace {

// Its words, each after a space, letters small. A byte of a letter beyond ASCII is part of a word as it is.
std::string Words(std::string_view text) {
  std::string words = " ";
  for (const char c : text) {
    const bool capital = c >= 'A' && c <= 'Z';
    const bool part =
        capital || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || static_cast<unsigned char>(c) >= 128;
    if (part) {
      words += capital ? static_cast<char>(c - 'A' + 'a') : c;
    } else if (words.back() != ' ') {
      words += ' ';
    }
  }
  if (words.size() > 1 && words.back() == ' ') words.pop_back();
  return words;
}

// What else people call these documents ("driver's license").
constexpr std::pair<const char*, const char*> kOtherWords[] = {{" licence", " drivers s license"},
                                                               {" identity", " id"}};

std::string WordsOf(const Preset& preset) {
  std::string text = preset.name + " " + preset.title + " " + preset.authority + (preset.upload ? " upload" : " print");
  if (const Country* country = FindCountry(preset.country)) {
    for (const std::string_view part : {country->code, country->name, country->also}) text.append(" ").append(part);
  }
  std::string words = Words(text);
  for (const auto& [usual, other] : kOtherWords) {
    if (words.find(usual) != std::string::npos) words += other;
  }
  return words;
}

// Whether each of the wanted words begins one of the others; never where there are none.
bool HoldsAll(const std::string& words, const std::string& wanted) {
  if (wanted == " ") return false;
  for (size_t at = 0; at != std::string::npos;) {
    const size_t next = wanted.find(' ', at + 1);
    if (words.find(wanted.substr(at, next - at)) == std::string::npos) return false;
    at = next;
  }
  return true;
}

}  // namespace

std::vector<const Preset*> SearchPresets(std::string_view text, std::string_view country) {
  const Country* wanted = country.empty() ? nullptr : FindCountry(country);
  if (!country.empty() && !wanted) {
    throw Failure(FailureCode::kBadOption,
                  "\"" + Printable(country) + "\" is no country; give the two letters of ISO 3166, such as DE");
  }
  const std::string words = Words(text);
  std::vector<const Preset*> found;
  for (const Preset& preset : Presets()) {
    if ((!wanted || preset.country == wanted->code) && (text.empty() || HoldsAll(WordsOf(preset), words)))
      found.push_back(&preset);
  }
  if (found.empty()) {
    throw Failure(FailureCode::kUnknownPreset, "there is no preset" +
                                                   (wanted ? " of the country " + std::string(wanted->name) : "") +
                                                   (text.empty() ? "" : " that matches \"" + Printable(text) + "\""));
  }
  return found;
}

}  // namespace qx::photo
