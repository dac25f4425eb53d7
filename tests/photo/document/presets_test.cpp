#include "photo/document/presets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "photo/document/countries.h"
#include "photo/document/paper.h"
#include "photo/document/preset_search.h"
#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;

TEST(Units, ReadSizesAndRangesAsPeopleWriteThem) {
  const std::pair<const char*, Size> sizes[] = {{"35x45mm", {35, 45, Unit::kMillimetre}},
                                                {"31.5x40.25mm", {31.5, 40.25, Unit::kMillimetre}},
                                                {"2x2in", {50.8, 50.8, Unit::kMillimetre}},
                                                {"3.5x4.5cm", {35, 45, Unit::kMillimetre}},
                                                {"400x514px", {400, 514, Unit::kPixel}}};
  for (const auto& [text, expected] : sizes) {
    const Size size = ParseSize(text);
    EXPECT_DOUBLE_EQ(expected.width, size.width) << text;
    EXPECT_DOUBLE_EQ(expected.height, size.height) << text;
    EXPECT_EQ(expected.unit, size.unit) << text;
    const bool converted = std::string(text).find_first_of("ci") != std::string::npos;
    EXPECT_EQ(converted ? ToText(expected) : text, ToText(size));
  }
  EXPECT_EQ("32-36mm", ToText(ParseRange("3.2-3.6cm")));
  EXPECT_EQ("25.4-31.75mm", ToText(ParseRange("1-1.25in")));
  for (const char* text : {"32-36mm", "31.5-36mm", "70-80%", "34mm", "0-5mm"})
    EXPECT_EQ(text, ToText(ParseRange(text)));

  for (const char* text : {"",          "mm",       "35x45",     "35mm",     "x45mm",       "35xmm", "-3x4mm",
                           "35x45x2mm", "1e1x20mm", "nanx20mm",  " 35x45mm", "400.5x514px", "0x4mm", "0.5x4mm",
                           "10001x4px", "35x45 mm", "3.5x4.5CM", "0.05x4cm", "1001x4cm",    "70x80%"}) {
    EXPECT_NE("(no failure)", FailureOf([&] { ParseSize(text); })) << text;
  }
  for (const char* text : {"", "%", "32-36", "-mm", "32-mm", "-5mm", "36-32mm", "70-101%", "32--36mm", "infmm", "1,5mm",
                           "32-36px", "1001cm", "3.6-3.2cm"}) {
    EXPECT_NE("(no failure)", FailureOf([&] { ParseRange(text); })) << text;
  }
}

TEST(Paper, IsReadByNameOrSize) {
  const std::tuple<const char*, double, double> papers[] = {
      {"A4", 210, 297},      {"a7", 74, 105},       {"Letter", 215.9, 279.4}, {"4x6", 101.6, 152.4},
      {"6x4", 152.4, 101.6}, {"10x15cm", 100, 150}, {"8.9x12.7CM", 89, 127},  {"100x150mm", 100, 150}};
  for (const auto& [name, width, height] : papers) {
    EXPECT_DOUBLE_EQ(width, ParsePaper(name).width) << name;
    EXPECT_DOUBLE_EQ(height, ParsePaper(name).height) << name;
  }
  for (const char* name : {"", "A9", "4x", "10x15", "300x400px", "0x10mm"}) EXPECT_THROW(ParsePaper(name), Failure);
}

// No figure both rests on a page and on none, and a contradicted one counts as doubtful.
void CheckSources(const Preset& preset) {
  const std::set<std::string> unverified(preset.unverified.begin(), preset.unverified.end());
  for (const PresetSource& source : preset.sources) {
    EXPECT_FALSE(source.gives.empty() && source.contradicts.empty()) << source.page;
    for (const std::string& figure : source.gives) EXPECT_EQ(0u, unverified.count(figure)) << figure;
    for (const std::string& figure : source.contradicts) EXPECT_EQ(1u, unverified.count(figure)) << figure;
  }
  if (!preset.rules) return;
  const PresetRules& rules = *preset.rules;
  EXPECT_TRUE(rules.glasses || rules.smile || rules.headCovering || !rules.children.empty());
}

TEST(Presets, AgreeWithThemselves) {
  std::set<std::string> names, countries;
  for (const Preset& preset : Presets()) {
    SCOPED_TRACE(preset.name);
    EXPECT_TRUE(names.insert(preset.name).second);
    EXPECT_EQ(std::string::npos, preset.name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-"));
    EXPECT_FALSE(preset.title.empty() || preset.authority.empty() || preset.backgrounds.empty());
    EXPECT_EQ(preset.source == "remembered",
              std::count(preset.unverified.begin(), preset.unverified.end(), "size") > 0);
    CheckSources(preset);
    // "uk-passport": a country's documents begin with its code, or with what its people use as one.
    if (preset.name.find('-') == 2) {
      const Country* country = FindCountry(preset.name.substr(0, 2));
      ASSERT_NE(nullptr, country);
      EXPECT_EQ(country->code, preset.country);
    }
    countries.insert(preset.country);
    EXPECT_TRUE(preset.dpi >= 300 && preset.dpi <= 1200);
    EXPECT_TRUE(preset.persons == 1 || preset.persons == 2);
    EXPECT_FALSE(preset.maxKb && (*preset.maxKb < 10 || preset.minKb.value_or(0) >= *preset.maxKb));

    const Document document = Derive(preset);
    EXPECT_TRUE(document.height >= 200 && document.height <= 2000);  // Saudi Arabia takes 200 x 200 pixels
    // A published size in pixels is the size in millimetres at the resolution, to the pixel.
    if (preset.pixels) {
      EXPECT_EQ(preset.pixels->width, document.width);
      EXPECT_EQ(preset.pixels->height, document.height);
    }
    EXPECT_NEAR(document.widthMm / document.heightMm, 1.0 * document.width / document.height, 0.005);

    // Every fraction leads back to its published bound.
    auto check = [](const std::optional<Range>& range, const std::optional<Fraction>& fraction, double wholeMm) {
      ASSERT_EQ(range.has_value(), fraction.has_value());
      if (!range) return;
      const double whole = range->unit == Unit::kPercent ? 100 : wholeMm;
      EXPECT_NEAR(range->min, fraction->min * whole, 1e-9);
      EXPECT_NEAR(range->max, fraction->max * whole, 1e-9);
      EXPECT_TRUE(fraction->min >= 0 && fraction->min < fraction->max && fraction->max <= 1);
    };
    check(preset.head, document.head, document.heightMm);
    check(preset.top, document.top, document.heightMm);
    check(preset.eyes, document.eyes, document.heightMm);
    check(preset.faceWidth, document.faceWidth, document.widthMm);
    // Some head within its bounds fits in with some margin above it, and leaves the chin inside.
    if (document.head) {
      EXPECT_GT(1, document.head->min + (document.top ? document.top->min : 0));
    }
    // The eyes lie between the middle of the head and somewhat above it.
    if (document.head && document.eyes) {
      EXPECT_GT(1 - document.head->min * 0.4, document.eyes->min);
      EXPECT_LT(document.head->min * 0.4, document.eyes->max);
    }
  }
  EXPECT_LE(150u, names.size());
  EXPECT_LE(75u, countries.size());
}

// By hand from the published figures, against slips in the data file and in the arithmetic.
TEST(Presets, DeriveTheRightNumbers) {
  const Document china = Derive(FindPreset("cn-visa"));
  EXPECT_EQ(390, china.width);
  EXPECT_EQ(567, china.height);
  EXPECT_NEAR(0.58333, china.head->min, 1e-5);  // 28 of 48, not 70 %
  EXPECT_NEAR(0.68750, china.head->max, 1e-5);
  EXPECT_NEAR(0.45455, china.faceWidth->min, 1e-5);
  const Document card = Derive(FindPreset("cn-id-card"));
  EXPECT_NEAR(207 - 14, card.faceWidth->min * card.width, 1);
  EXPECT_NEAR(207 + 14, card.faceWidth->max * card.width, 1);
  const Document states = Derive(FindPreset("us-passport"));
  EXPECT_EQ(600, states.width);
  EXPECT_EQ(600, states.height);
  EXPECT_NEAR(0.5512, states.eyes->min, 1e-4);  // 28 of 50.8
  const Document singapore = Derive(FindPreset("sg-passport-upload"));
  EXPECT_EQ(514, singapore.height);
  EXPECT_NEAR(25.0 / 45, singapore.head->min, 1e-9);
  Preset large = FindPreset("de-passport");
  EXPECT_EQ(827, Derive(large).width);
  large.dpi = 300;
  EXPECT_EQ(413, Derive(large).width);
  for (const char* name : {"au-passport", "sg-passport", "kr-passport", "nl-passport", "jp-passport"}) {
    EXPECT_FALSE(FindPreset(name).backgroundChange) << name;
  }
}

TEST(Presets, HandOnSourcesAndRules) {
  const Preset& dutch = FindPreset("nl-passport");
  ASSERT_EQ(1u, dutch.sources.size());
  EXPECT_EQ("copy", dutch.sources[0].kind);
  EXPECT_EQ("2026-11-21", dutch.sources[0].read);
  EXPECT_EQ(7u, dutch.sources[0].gives.size());
  ASSERT_TRUE(dutch.rules);
  EXPECT_EQ(GlassesRule::kNoGlare, dutch.rules->glasses);
  EXPECT_EQ(SmileRule::kForbidden, dutch.rules->smile);
  EXPECT_EQ(HeadCoveringRule::kReligious, dutch.rules->headCovering);
  EXPECT_EQ("to 10 years a head of 19 to 30 mm", dutch.rules->children);
  EXPECT_EQ(dutch.sources[0].page, dutch.rules->source);
  EXPECT_FALSE(FindPreset("us-visa").rules->smile);  // its page does not speak of it
  // Embassies of one country refuse what the document's own authority does not speak of.
  const Preset& visa = FindPreset("schengen-visa");
  EXPECT_TRUE(visa.backgroundChange);
  EXPECT_EQ(std::vector<std::string>{"background_change"}, visa.sources[0].contradicts);
  EXPECT_FALSE(FindPreset("icao-portrait").rules);
}

// JSON that is written with single quotes, for people's eyes.
std::string Quoted(std::string text) {
  std::replace(text.begin(), text.end(), '\'', '"');
  return text;
}

TEST(Presets, AreReadStrictly) {
  const std::string good = Quoted(R"([{'name': 'xx', 'title': 'X', 'authority': 'Y', 'country': 'FR', 'kind': 'print',
    'size': '35x45mm', 'dpi': 300, 'head': '32-36mm', 'head_to': 'hair', 'backgrounds': ['white'], 'background_change': 'allowed',
    'retouching': 'forbidden', 'source': 'secondary', 'read': '2026-11', 'unverified': ['dpi'],
    'sources': [{'page': 'https://example.org/a', 'kind': 'copy', 'read': '2024-02-29', 'gives': ['size', 'head']}],
    'rules': {'glasses': 'no_glare', 'smile': 'mouth_closed', 'head_covering': 'religious', 'children': 'any',
              'source': 'http://example.org/b', 'read': '2026-11-21'}}])");
  ASSERT_EQ(1u, ParsePresets(good).size());
  EXPECT_EQ("FR", ParsePresets(good)[0].country);
  const std::pair<const char*, const char*> slips[] = {
      {"'FR'", "'fr'"},
      {"'FR'", "'XX'"},
      {"'print'", "'paper'"},
      {"'secondary'", "'hearsay'"},
      {"'hair'", "'hat'"},
      {"'2026-11'", "'2026-13'"},
      {"'2026-11'", "'2026-11-21'"},
      {"['dpi']", "['dpj']"},
      {"['dpi']", "['top']"},
      {"'sources': [", "'sources': [3, "},
      {"https://", "ftp://"},
      {"example.org/a", "example.org/a b"},
      {"'copy'", "'remembered'"},
      {"2024-02-29", "2024-02-30"},
      {"2024-02-29", "2025-02-29"},
      {"2024-02-29", "2024-2-029"},
      {"2024-02-29", "2024-02"},
      {"'gives'", "'give'"},
      {"'size', 'head'", "'size', 'eyes'"},
      {"'size', 'head'", "'size', 'size'"},
      {"'gives'", "'contradicts': ['name'], 'gives'"},
      {"no_glare", "no glare"},
      {"mouth_closed", "religious"},
      {"religious", "mouth_closed"},
      {"'children': 'any'", "'children': 3"},
      {"'children': 'any'", "'infants': 'any'"},
      {"http://example.org/b", "example.org/b"},
      {", 'read': '2026-11-21'", ""},
  };
  for (const auto& [right, wrong] : slips) {
    std::string text = good;
    const size_t at = text.find(Quoted(right));
    ASSERT_NE(std::string::npos, at) << right;
    text.replace(at, std::string(right).size(), Quoted(wrong));
    EXPECT_EQ(0u, FailureOf([&] { ParsePresets(text); }).find("preset 1: ")) << wrong;
  }
}

// What a length of the head ends at has a source, or is said to have none.
TEST(Presets, SayWhereTheHeadEnds) {
  const auto doubts = [](const Preset& preset) {
    return std::count(preset.unverified.begin(), preset.unverified.end(), "head_to");
  };
  for (const Preset& preset : Presets()) {
    const bool known = std::any_of(preset.sources.begin(), preset.sources.end(), [](const PresetSource& source) {
      return std::count(source.gives.begin(), source.gives.end(), "head_to") > 0;
    });
    EXPECT_EQ(preset.head && !known ? 1 : 0, doubts(preset)) << preset.name;
    EXPECT_EQ(preset.headTo, Derive(preset).headTo);
    EXPECT_TRUE(known || preset.headTo == HeadTo::kCrown) << preset.name;
  }
  EXPECT_EQ(HeadTo::kHair, FindPreset("us-passport").headTo);
  EXPECT_EQ(HeadTo::kCrown, FindPreset("fr-passport").headTo);
  EXPECT_EQ("crown", std::string(NameOf(HeadTo::kCrown)));
  EXPECT_EQ(HeadTo::kHair, ParseHeadTo("hair"));
  EXPECT_NE("(no failure)", FailureOf([] { ParseHeadTo(""); }));
  const std::string without = Quoted(R"([{'name': 'xx', 'title': 'X', 'authority': 'Y', 'kind': 'print',
    'size': '35x45mm', 'dpi': 300, 'head_to': 'hair', 'backgrounds': ['white'], 'background_change': 'allowed',
    'retouching': 'forbidden', 'source': 'secondary', 'read': '2026-11', 'unverified': []}])");
  EXPECT_NE(std::string::npos, FailureOf([&] { ParsePresets(without); }).find("a head_to without a head"));
}

std::string NamesFound(std::string_view text, std::string_view country) {
  std::string names;
  for (const Preset* preset : SearchPresets(text, country)) names += (names.empty() ? "" : " ") + preset->name;
  return names;
}

TEST(Presets, AreFoundByWordsAndCountry) {
  EXPECT_EQ(Presets().size(), SearchPresets("", "").size());
  EXPECT_EQ("de-passport de-driving-licence", NamesFound("", "de"));
  EXPECT_EQ("de-passport de-driving-licence", NamesFound("gErMaNy", ""));
  EXPECT_EQ("uk-driving-licence", NamesFound("  driving,britain ", ""));
  EXPECT_EQ("uk-driving-licence", NamesFound("driver's license", "UK"));
  EXPECT_EQ("uk-passport-upload", NamesFound("upload", "GB"));
  EXPECT_EQ("schengen-visa", NamesFound("visa", "EU"));
  // "us" begins no word of Australia's or Russia's documents.
  for (const Preset* preset : SearchPresets("us", "")) EXPECT_EQ("US", preset->country) << preset->name;
  EXPECT_EQ(NamesFound("T\u00fcrkiye", ""), NamesFound("turkey", ""));
  const std::pair<const char*, const char*> none[] = {
      {"xyzzy", ""}, {"...", ""}, {"assport", ""}, {"visa", "DE"}, {"", "AQ"}};
  for (const auto& [text, country] : none) {
    const std::string reason = FailureOf([t = text, c = country] { SearchPresets(t, c); });
    EXPECT_EQ(0u, reason.find("there is no preset")) << text << reason;
  }
  for (const char* country : {"D", "XX", "DEU", "germany", "d\n"}) {
    EXPECT_NE(std::string::npos, FailureOf([&] { SearchPresets("", country); }).find("is no country")) << country;
  }
}

TEST(Presets, SayWhatIsWrong) {
  EXPECT_NE(std::string::npos, FailureOf([] { FindPreset("us-pasport"); }).find("did you mean us-passport"));
  try {
    FindPreset("us-pasport");
  } catch (const Failure& failure) {
    EXPECT_EQ(0u, failure.Word("similar").find("us-passport")) << failure.Word("similar");
  }
  EXPECT_NE(std::string::npos, FailureOf([] { FindPreset("atlantis"); }).find("there is no preset \"atlantis\""));
  Preset preset = FindPreset("one-inch");
  preset.head = Range{30, 40, Unit::kMillimetre};
  EXPECT_NE(std::string::npos, FailureOf([&] { Derive(preset); }).find("head length of 30-40mm"));
  preset.head.reset();
  preset.dpi = 1'000'000;
  EXPECT_NE(std::string::npos, FailureOf([&] { Derive(preset); }).find("change the size or the resolution"));
  EXPECT_NE(std::string::npos, FailureOf([] { ParsePresets("[{\"name\": 1}]"); }).find("preset 1"));
  EXPECT_NE("(no failure)", FailureOf([] { ParsePresets("["); }));
}

}  // namespace
}  // namespace qx::photo
