#include "photo/document/presets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "photo/document/paper.h"
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

TEST(Presets, AgreeWithThemselves) {
  const std::set<std::string> sources{"authority", "copy", "secondary", "remembered"};
  const std::set<std::string> fields{
      "size",   "pixels",      "print_size",        "dpi",       "head", "top", "eyes", "face_width", "min_kb",
      "max_kb", "backgrounds", "background_change", "retouching"};
  std::set<std::string> names;
  EXPECT_LE(25u, Presets().size());
  for (const Preset& preset : Presets()) {
    SCOPED_TRACE(preset.name);
    EXPECT_TRUE(names.insert(preset.name).second);
    EXPECT_EQ(std::string::npos, preset.name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-"));
    EXPECT_FALSE(preset.title.empty() || preset.authority.empty() || preset.backgrounds.empty());
    EXPECT_EQ(1u, sources.count(preset.source));
    EXPECT_EQ(preset.source == "remembered",
              std::count(preset.unverified.begin(), preset.unverified.end(), "size") > 0);
    for (const std::string& field : preset.unverified) EXPECT_EQ(1u, fields.count(field)) << field;
    EXPECT_EQ(7u, preset.read.size());
    EXPECT_TRUE(preset.dpi >= 300 && preset.dpi <= 1200);
    EXPECT_TRUE(preset.persons == 1 || preset.persons == 2);
    EXPECT_FALSE(preset.maxKb && (*preset.maxKb < 10 || preset.minKb.value_or(0) >= *preset.maxKb));

    const Document document = Derive(preset);
    EXPECT_TRUE(document.height >= 300 && document.height <= 2000);
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
  for (const char* name : {"au-passport", "sg-passport", "kr-passport", "nl-passport"}) {
    EXPECT_FALSE(FindPreset(name).backgroundChange) << name;
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
