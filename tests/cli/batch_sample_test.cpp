// Many photographs at once, and their sheet, as a user makes them.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

#include "codec/codec.h"
#include "support/posed_sample.h"
#include "support/test_files.h"

namespace qx::cli {
namespace {

using namespace qx::test;
using namespace qx::photo;
using namespace qx::codec;

namespace fs = std::filesystem;

TEST(BatchProgram, MakesSkipsAndReports) {
  const TestFolder folder;
  for (const char* name : {"one", "two"}) fs::create_directory(folder / name);
  fs::copy_file(QX_SAMPLE_PHOTO, folder / "one/x.png");
  fs::copy_file(QX_SAMPLE_PHOTO, folder / "two/x.png");
  WriteBytes(folder / "two/y.jpg", "Dear Sir or Madam,");
  Names arguments{"batch",   "one",    "two/*",   "-o",           "out",  "--size",
                  "35x45mm", "--head", "28-34mm", "--background", "white"};
  const ProgramRun run = RunProgram(folder, arguments);
  EXPECT_EQ(1, run.status) << run.err;
  EXPECT_TRUE(Contains(run.out, "\nfailed:\n  1 photograph: not a photograph\nremarks:\n")) << run.out;
  EXPECT_TRUE(Contains(run.out, "\n  2 photographs: a smile\n")) << run.out;
  EXPECT_EQ(0u, run.err.find("idphoto: two/y.jpg: is not a photograph")) << run.err;
  EXPECT_EQ((Names{"report.jsonl", "x-2.jpg", "x.jpg"}), folder.Names("out"));
  EXPECT_EQ(ReadBytes(folder / "out/x.jpg"), ReadBytes(folder / "out/x-2.jpg"));
  EXPECT_EQ(413, ReadImage(folder / "out/x.jpg").width);
  std::istringstream report(ReadBytes(folder / "out/report.jsonl"));
  size_t done = 0;
  for (std::string text; std::getline(report, text);) {
    const auto line = nlohmann::json::parse(text);
    if (line.at("status") != "done") continue;
    ++done;
    EXPECT_GE(line.at("measures").at("head_mm"), 27.5);
    EXPECT_LE(line.at("measures").at("head_mm"), 34.5);
  }
  EXPECT_EQ(2u, done);

  // Going on leaves the finished ones alone; on a terminal a bar stands for them.
  arguments.insert(arguments.end(), {"--resume", "--jobs", "1"});
  WriteBytes(folder / "out/x.jpg", "untouched");
  fs::copy_file(QX_SAMPLE_PHOTO, folder / "two/y.jpg", fs::copy_options::overwrite_existing);
  fs::remove(folder / "out/x-2.jpg");
  const bool terminal = HasTerminals();
  const ProgramRun resumed = RunProgram(folder, arguments, terminal);
  EXPECT_EQ(0, resumed.status) << resumed.err;
  EXPECT_TRUE(Contains(resumed.out, "\nremarks:\n")) << resumed.out;
  EXPECT_TRUE(Contains(resumed.out, "\n  3 photographs: a smile\n")) << resumed.out;  // also the one left alone
  EXPECT_FALSE(Contains(resumed.out, "failed")) << resumed.out;
  if (terminal) {
    EXPECT_TRUE(Contains(resumed.err, "2/2 ")) << resumed.err;
  }
  EXPECT_EQ("untouched", ReadBytes(folder / "out/x.jpg"));
  EXPECT_EQ((Names{"report.jsonl", "x-2.jpg", "x.jpg", "y.jpg"}), folder.Names("out"));

  const ProgramRun sheet = RunProgram(folder, {"sheet", "out/y.jpg", "-o", "sheet.jpg"});
  EXPECT_TRUE(Contains(sheet.out, "out/y.jpg: 8 of 34.97 x 44.96 mm")) << sheet.out << sheet.err;
  EXPECT_EQ(300, ReadPrintResolution(folder / "sheet.jpg")->x);
}

TEST(BatchProgram, StrictRefusesAndCounts) {
  const TestFolder folder;
  fs::create_directory(folder / "in");
  Image photograph = NeutralSample();
  ToVips(photograph).write_to_file((folder / "in/good.png").c_str());
  CloseEyes(&photograph);
  ToVips(photograph).write_to_file((folder / "in/a.png").c_str());
  ToVips(photograph).write_to_file((folder / "in/b.png").c_str());
  ToVips(GradientImage(200, 200)).write_to_file((folder / "in/c.png").c_str());
  const ProgramRun run = RunProgram(folder, {"batch", "in", "-o", "out", "--preset", "de-passport", "--strict"});
  EXPECT_EQ(1, run.status) << run.err;
  EXPECT_EQ((Names{"good.jpg", "report.jsonl"}), folder.Names("out"));
  EXPECT_TRUE(Contains(run.out, "failed:\n  2 photographs: the eyes look closed\n")) << run.out;
  EXPECT_TRUE(Contains(run.out, "\n  1 photograph: no face was found\n")) << run.out;
  EXPECT_FALSE(Contains(run.out, "remarks:")) << run.out;
  std::istringstream report(ReadBytes(folder / "out/report.jsonl"));
  for (std::string text; std::getline(report, text);) {
    const auto line = nlohmann::json::parse(text);
    const std::string input = line.at("input");
    const auto& reasons = line.at("reasons");
    if (input == "in/good.png") {
      EXPECT_EQ("done", line.at("status"));
      EXPECT_EQ(0u, reasons.size()) << reasons;
    } else {
      EXPECT_EQ("failed", line.at("status"));
      EXPECT_EQ(input == "in/c.png" ? "no_face" : "EyesOpen", reasons.at(0));
    }
  }
}

TEST(BatchProgram, AnswersWrongUsageBeforeAnythingIsWritten) {
  const TestFolder folder;
  fs::create_directory(folder / "in");
  fs::copy_file(QX_SAMPLE_PHOTO, folder / "in/x.jpg");
  const std::pair<Names, std::string> cases[] = {
      {{"in", "-o", "out"}, "--preset"},
      {{"in", "-o", "out", "--preset", "nowhere"}, "nowhere"},
      {{"in", "-o", "out", "--size", "35x45mm", "--jobs", "0"}, "--jobs"},
      {{"in", "-o", "out", "--size", "35x45mm", "--background", "transparent"}, "add --format png"},
      {{"out*", "-o", "in", "--size", "35x45mm"}, "no file matches"},
      {{"in", "-o", "in", "--size", "35x45mm"}, "would replace that photograph"},
      {{"in", "-o", "in", "--size", "35x45mm", "--format", "png", "--report", "in/x.jpg"}, "would replace"},
      {{"in", "-o", "in", "--size", "35x45mm", "--format", "png", "--report", "none/r"}, "cannot write the report"}};
  for (const auto& [arguments, reason] : cases) {
    EXPECT_EQ(2, StatusOfRefusal(folder, Joined({"batch"}, arguments), reason)) << reason;
  }
  EXPECT_EQ(Names{"in"}, folder.Names());
  EXPECT_EQ(Names{"x.jpg"}, folder.Names("in"));
}

}  // namespace
}  // namespace qx::cli
