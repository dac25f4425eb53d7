// `make` and `presets`: wrong usage, and what needs no photograph of a person.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "photo/document/presets.h"
#include "support/test_files.h"

namespace qx::cli {
namespace {

using namespace qx::test;
using namespace qx::photo;

using namespace qx::test;
using namespace qx::photo;
using namespace qx::codec;

TEST(ProgramMake, AnswersWrongUsageWithOneLineAndStatusTwo) {
  const TestFolder folder;
  ToVips(GradientImage(64, 64)).write_to_file((folder / "a.png").c_str());
  const Names make{"make", "a.png", "-o", "b.jpg"};
  const std::pair<Names, std::string> cases[] = {
      {{}, "--preset or give a --size"},
      {{"--preset", "us-pasport"}, "did you mean us-passport"},
      {{"--size", "35x45"}, "--size"},
      {{"--size", "35x45mm", "--head", "50-60mm"}, "does not fit into 45 mm"},
      {{"--size", "35x45mm", "--head-to", "hat"}, "neither crown nor hair"},
      {{"--preset", "cn-visa", "--background", "bluish"}, "--background"},
      {{"--preset", "cn-visa", "--min-kb", "50", "--max-kb", "40"}, "least size"},
      {{"--preset", "cn-visa", "--dpi", "5"}, "--dpi"},
      {{"--preset", "cn-visa", "--person", "0"}, "--person"},
      {{"--preset", "cn-visa", "--person", "1", "--pair"}, "leave one of them out"},
      {{"--preset", "cn-visa", "--eyes", "11"}, "as a size from -10 to 10"},
      {{"--preset", "cn-visa", "--tone", "nan"}, "--tone"},
      {{"--preset", "de-passport", "--skin", "0.5"}, "takes no retouched photograph"},
      {{"--preset", "de-passport", "--brightness", "1"}, "leave out the adjustment, or add --force"},
      {{"--preset", "cn-visa", "--contrast", "11"}, "must be between -10 and 10"},
      {{"--preset", "cn-visa", "--white-balance", "daylight"}, "--white-balance"},
      {{"--preset", "cn-visa", "--quiet", "--json"}, "--json"},
      {{"--preset", "cn-marriage-certificate"}, "add --pair"},
      {{"--preset", "cn-visa", "--background", "transparent"}, "end the name in .png"},
      {{"--preset", "au-passport", "--background", "transparent"}, "add --force"},
      {{"--preset", "au-passport", "--background", "white"}, "add --force"}};
  for (const auto& [options, reason] : cases) {
    EXPECT_EQ(2, StatusOfRefusal(folder, Joined(make, options), reason)) << reason;
  }
  EXPECT_EQ(2, RunProgram(folder, {"make", "a.png", "-o", "./a.png", "--preset", "cn-visa"}).status);
  EXPECT_EQ(2, RunProgram(folder, {"check", "a.png", "--preset", "cn-visa", "--draw", "a.png"}).status);
  EXPECT_EQ(2, RunProgram(folder, {"presets", "atlantis"}).status);
  EXPECT_EQ(Names{"a.png"}, folder.Names());

  // No face: one line, status 1, no file; the check still says what it can.
  EXPECT_EQ(1, StatusOfRefusal(folder, Joined(make, {"--preset", "cn-visa"}), "a.png: no face found"));
  const ProgramRun check = RunProgram(folder, {"check", "a.png", "--preset", "cn-visa"});
  EXPECT_EQ(1, check.status);
  EXPECT_TRUE(Contains(check.out, "a.png: failed\n  to put right:\n    Width of the picture ")) << check.out;
  EXPECT_TRUE(Contains(check.out, " (64 px, must be 390 px)\n")) << check.out;
  EXPECT_EQ(Names{"a.png"}, folder.Names());
}

TEST(ProgramMake, ListsPresets) {
  const TestFolder folder;
  const ProgramRun table = RunProgram(folder, {"presets"}), one = RunProgram(folder, {"presets", "cn-visa"});
  const auto list = nlohmann::json::parse(RunProgram(folder, {"presets", "--json"}).out);
  EXPECT_EQ(Presets().size(), list.size());
  for (const Preset& preset : Presets()) EXPECT_TRUE(Contains(table.out, "\n" + preset.name + " ")) << preset.name;
  EXPECT_TRUE(Contains(one.out, "28-33mm")) << one.out;
  const auto visa = nlohmann::json::parse(RunProgram(folder, {"presets", "cn-visa", "--json"}).out);
  EXPECT_NEAR(28.0 / 48, visa["head"]["min"], 1e-9);
}

TEST(ProgramMake, FindsPresets) {
  const TestFolder folder;
  const ProgramRun table = RunProgram(folder, {"presets", "--search", "GERMAN Passport"});
  EXPECT_TRUE(Contains(table.out, "\nde-passport 35x45mm ")) << table.out;
  EXPECT_EQ(3, std::count(table.out.begin(), table.out.end(), '\n')) << table.out;
  const auto list = nlohmann::json::parse(RunProgram(folder, {"presets", "--country", "sg", "--json"}).out);
  ASSERT_TRUE(list.is_array());
  for (const auto& preset : list) EXPECT_EQ("Singapore", preset.at("country_name")) << preset;
  const auto file =
      std::find_if(list.begin(), list.end(), [](const auto& p) { return p["name"] == "sg-passport-upload"; });
  ASSERT_NE(list.end(), file);
  EXPECT_EQ("35x45mm", file->at("print_size"));
  EXPECT_EQ(514, file->at("height_px"));
  EXPECT_EQ("SG", file->at("country"));
  for (const char* name : {"page", "kind", "read", "gives"})
    EXPECT_TRUE(file->at("sources").at(0).contains(name)) << name;
  const auto dutch = nlohmann::json::parse(RunProgram(folder, {"presets", "nl-passport", "--json"}).out);
  EXPECT_EQ("no_glare", dutch.at("rules").at("glasses"));
  EXPECT_EQ("religious", dutch.at("rules").at("head_covering"));
  const ProgramRun visa = RunProgram(folder, {"presets", "schengen-visa"});
  EXPECT_TRUE(Contains(visa.out, "; contradicts background_change")) << visa.out;

  const std::pair<Names, std::string> cases[] = {
      {{"--search", "atlantis"}, "no preset that matches \"atlantis\"; idphoto presets lists them"},
      {{"--search", "x", "--json"}, "no preset that matches \"x\""},
      {{"--country", "AQ"}, "no preset of the country Antarctica"},
      {{"--country", "Germany"}, "two letters of ISO 3166"},
      {{"us-visa", "--country", "US"}, "excludes"}};
  for (const auto& [options, reason] : cases) {
    EXPECT_EQ(2, StatusOfRefusal(folder, Joined({"presets"}, options), reason)) << reason;
  }
}

}  // namespace
}  // namespace qx::cli
