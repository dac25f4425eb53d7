// check on several photographs, as far as no face is needed.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "support/test_files.h"

namespace qx::cli {
namespace {

using namespace qx::test;
using nlohmann::json;

namespace fs = std::filesystem;

// The lines of a text, without their ends.
Names LinesOf(const std::string& text) {
  std::istringstream stream(text);
  Names lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

class ProgramCheck : public testing::Test {
 protected:
  ProgramCheck() {
    fs::create_directory(folder / "more");
    const vips::VImage picture = ToVips(GradientImage(200, 200));
    picture.write_to_file((folder / "a.png").c_str());
    picture.write_to_file((folder / "more/a.jpg").c_str(), vips::VImage::option()->set("Q", 30));
    WriteBytes(folder / "letter\n.jpg", "Dear Sir or Madam,");
  }

  TestFolder folder;
  const Names several{"check", "a.png", "letter\n.jpg", "more", "--size", "200x200px"};
};

TEST_F(ProgramCheck, GoesOnAfterABadFileAndSumsUp) {
  const ProgramRun run = RunProgram(folder, Joined(several, {"--draw", "out/drawn", "--html", "page.html"}));
  EXPECT_EQ(1, run.status);
  EXPECT_EQ(0u, run.err.rfind("idphoto: letter\\x0A.jpg: is not a photograph", 0)) << run.err;
  EXPECT_EQ(1u, LinesOf(run.err).size()) << run.err;
  EXPECT_EQ(
      "a.png: failed\n"
      "  to put right:\n"
      "    Resolution for printing  the file does not tell its resolution (0 dpi, must be 300 dpi)\n"
      "    Number of faces          no face was found (0, must be 1)\n"
      "more/a.jpg: failed\n"
      "  to put right:\n"
      "    Resolution for printing  the file does not tell its resolution (0 dpi, must be 300 dpi)\n"
      "    Number of faces          no face was found (0, must be 1)\n"
      "    Traces of compression    saved too strongly compressed (JPEG quality 30): send the original file\n"
      "\n"
      "3 photographs: 0 passed, 2 failed, 1 not checked\n"
      "  failed by:\n"
      "    Number of faces          2 photographs\n"
      "    Resolution for printing  2 photographs\n"
      "    Traces of compression    1 photograph\n",
      run.out);
  EXPECT_EQ((Names{"a-2.png", "a.png"}), folder.Names("out/drawn"));
  const std::string page = ReadBytes(folder / "page.html");
  for (const char* part : {"a.png", "letter\\x0A.jpg", "more/a.jpg", "JPEG quality 30", "</html>"}) {
    EXPECT_TRUE(Contains(page, part)) << part;
  }
}

TEST_F(ProgramCheck, PrintsOneObjectForEachPhotograph) {
  const Names lines = LinesOf(RunProgram(folder, Joined(several, {"--json"})).out);
  ASSERT_EQ(3u, lines.size());
  const json first = json::parse(lines[0]), bad = json::parse(lines[1]), last = json::parse(lines[2]);
  EXPECT_TRUE(first["photograph"] == "a.png" && first["passed"] == false && first["jpeg"].is_null()) << first;
  EXPECT_TRUE(bad["photograph"] == "letter\n.jpg" && bad["error"]["code"] == "not_a_picture") << bad;
  EXPECT_TRUE(last["photograph"] == "more/a.jpg" && last["jpeg"]["quality"] == 30) << last;
}

TEST_F(ProgramCheck, TellsOfOnePhotographAllThatWasAssessed) {
  const Names check{"check", "a.png", "--size", "200x200px"};
  const std::string brief = RunProgram(folder, check).out;
  EXPECT_TRUE(Contains(brief, "  all:\n  Width of the picture ")) << brief;
  EXPECT_TRUE(Contains(brief, "  43 not assessed, ")) << brief;  // all but the blocks of compression
  EXPECT_FALSE(Contains(brief, "Head turned sideways"));
  const std::string all = RunProgram(folder, Joined(check, {"--verbose"})).out;
  EXPECT_TRUE(Contains(all, "not assessed: no face was found")) << all;
}

TEST_F(ProgramCheck, RefusesToReplaceAPhotograph) {
  fs::copy_file(folder / "a.png", folder / "b.png");
  const Names two{"check", "a.png", "b.png", "--size", "200x200px", "--draw"};
  EXPECT_EQ(2, StatusOfRefusal(folder, Joined(two, {"."}), "a.png: would replace that photograph"));
  EXPECT_EQ(2, StatusOfRefusal(folder, Joined(two, {"letter\n.jpg"}), "is not a folder"));
  const Names page{"check", "a.png", "--size", "9x9px", "--html"};
  EXPECT_EQ(2, StatusOfRefusal(folder, Joined(page, {"page"}), "end the name in .html"));
  EXPECT_EQ(2, StatusOfRefusal(folder, Joined(page, {"missing/page.html"}), "no such folder"));
  EXPECT_EQ(2, StatusOfRefusal(folder, {"check", "none*", "--size", "9x9px"}, "no file matches"));
}

}  // namespace
}  // namespace qx::cli
