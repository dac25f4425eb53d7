// The orders on a real photograph: the bytes and the JSON are those of the commands.
#include <gtest/gtest.h>

#include <string>

#include "codec/codec.h"
#include "orders/order.h"
#include "photo/studio.h"
#include "support/test_files.h"

namespace qx::orders {
namespace {

using namespace qx::test;

struct Case {
  const char* command;
  OptionPairs options;
  Names arguments;  // behind the command and the photograph
  Names files;      // that the command writes, in the order of the answer's pictures
  bool isJson;      // the command prints the answer's report
};

const Case kCases[] = {
    {"make",
     {{"preset", "schengen-visa"}, {"beauty", "light"}, {"compare", ""}, {"force", ""}},
     {"-o", "x.jpg", "--preset", "schengen-visa", "--beauty", "light", "--compare", "--force", "--json"},
     {"x.jpg", "x-compare.jpg"},
     true},
    {"crop",
     {{"ratio", "1"}, {"format", "jpg"}},
     {"-o", ".", "--ratio", "1", "--format", "jpg"},
     {"x_face1.jpg"},
     false},
    {"retouch", {{"tone", "3"}, {"format", "png"}}, {"-o", "x-r.png", "--tone", "3"}, {"x-r.png"}, false},
    {"mask", {{"both", ""}}, {"-o", "m.png", "--cutout", "c.png"}, {"m.png", "c.png"}, false},
    {"inspect",
     {{"draw", ""}, {"points", "dense"}},
     {"--json", "--draw", "d.png", "--points", "dense"},
     {"d.png"},
     true},
    {"check",
     {{"preset", "de-passport"}, {"draw", ""}},
     {"--preset", "de-passport", "--draw", "d.png", "--json"},
     {"d.png"},
     true},
    {"sheet", {{"size", "45x45mm"}, {"format", "tiff"}}, {"-o", "s.tiff", "--size", "45x45mm"}, {"s.tiff"}, false},
    {"background",
     {{"background", "lightblue"}},
     {"-o", "x.jpg", "--background", "lightblue", "--json"},
     {"x.jpg"},
     true},
    {"watermark",
     {{"text", "for you"}, {"angle", "-20"}, {"color", "white"}, {"max-kb", "60"}},
     {"-o", "x.jpg", "--text", "for you", "--angle", "-20", "--color", "white", "--max-kb", "60", "--json"},
     {"x.jpg"},
     true},
    {"compress", {{"max-kb", "40"}}, {"-o", "x.jpg", "--max-kb", "40", "--json"}, {"x.jpg"}, true},
};

TEST(SampleOrders, GiveTheBytesAndTheJsonOfTheCommands) {
  photo::Studio studio;  // one for all: none leaves anything behind
  const std::string file = ReadBytes(QX_SAMPLE_PHOTO);
  for (const Case& c : kCases) {
    const TestFolder folder;
    WriteBytes(folder / "x.png", file);
    const ProgramRun run = RunProgram(folder, Joined({c.command, "x.png"}, c.arguments));
    const Answer answer = ParseOrder(c.command, c.options)->Fill({{file.begin(), file.end()}, {}, "x.png"}, studio);
    EXPECT_EQ("", run.err) << c.command;
    if (c.isJson) {
      EXPECT_EQ(run.out, answer.report + "\n") << c.command;
    }
    ASSERT_EQ(c.files.size(), answer.pictures.size()) << c.command;
    for (size_t i = 0; i < c.files.size(); ++i) {
      const std::vector<uint8_t>& bytes = answer.pictures[i].bytes;
      EXPECT_TRUE(ReadBytes(folder / c.files[i]) == std::string(bytes.begin(), bytes.end())) << c.files[i];
    }
  }
}

TEST(SampleOrders, TakeAMaskAndSayWhenItIsNone) {
  photo::Studio studio;
  const TestFolder folder;
  const std::string file = ReadBytes(QX_SAMPLE_PHOTO);
  WriteBytes(folder / "x.png", file);
  RunProgram(folder, {"mask", "x.png", "-o", "m.png"});
  RunProgram(folder, {"make", "x.png", "-o", "x.jpg", "--size", "35x45mm", "--mask", "m.png"});
  const std::string mask = ReadBytes(folder / "m.png");
  const auto order = ParseOrder("make", {{"size", "35x45mm"}});
  const photo::Bytes photograph(file.begin(), file.end());
  const Answer answer = order->Fill({photograph, {mask.begin(), mask.end()}, "x.png"}, studio);
  const std::vector<uint8_t>& bytes = answer.pictures.at(0).bytes;
  EXPECT_TRUE(ReadBytes(folder / "x.jpg") == std::string(bytes.begin(), bytes.end()));
  EXPECT_EQ("x.jpg", answer.pictures[0].name);
  EXPECT_EQ("the mask: is not a photograph", FailureOf([&] {
                                               order->Fill({photograph, {'n', 'o', 'n', 'e'}, "x.png"}, studio);
                                             }).substr(0, 29));
}

TEST(SampleOrders, PresetsNeedNoPhotograph) {
  photo::Studio studio;
  const TestFolder folder;
  const auto report = [&](const OptionPairs& options) {
    return ParseOrder("presets", options)->Fill({}, studio).report;
  };
  EXPECT_EQ(RunProgram(folder, {"presets", "--json"}).out, report({}) + "\n");
  EXPECT_EQ(RunProgram(folder, {"presets", "de-passport", "--json"}).out, report({{"name", "de-passport"}}) + "\n");
  EXPECT_EQ(RunProgram(folder, {"presets", "--country", "US", "--json"}).out, report({{"country", "US"}}) + "\n");
}

}  // namespace
}  // namespace qx::orders
