// The program on a real photograph of one person.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/test_files.h"

namespace qx::cli {
namespace {

using namespace qx::test;
using namespace qx::photo;
using namespace qx::codec;

namespace fs = std::filesystem;

TEST(SamplePhoto, CropGoesOnAfterABadFileAndGivesEachPhotographItsName) {
  const TestFolder folder;
  for (const char* name : {"one", "two"}) {
    fs::create_directory(folder / name);
    fs::copy_file(QX_SAMPLE_PHOTO, folder / name / "x.png");
  }
  WriteBytes(folder / "bad.jpg", "");
  fs::create_directory(folder / "out");
  WriteBytes(folder / "out/x_face1.png", "from an earlier run");
  const Names arguments{"crop", "one/x.png", "bad.jpg", "two/x.png", "-o", "out"};
  const ProgramRun run = RunProgram(folder, arguments);
  EXPECT_EQ(1, run.status);
  EXPECT_EQ("one/x.png: 1 face: out/x_face1.png\ntwo/x.png: 1 face: out/x-2_face1.png\n", run.out);
  EXPECT_EQ("idphoto: bad.jpg: is empty; get the photograph again from where it came\n", run.err);
  EXPECT_EQ((Names{"x-2_face1.png", "x_face1.png"}), folder.Names("out"));
  EXPECT_EQ(ReadBytes(folder / "out/x_face1.png"), ReadBytes(folder / "out/x-2_face1.png"));
}

TEST(SamplePhoto, CropShowsABarOnATerminalAndWipesIt) {
  if (!HasTerminals()) GTEST_SKIP() << "no pseudo-terminals here";
  const TestFolder folder;
  fs::copy_file(QX_SAMPLE_PHOTO, folder / "x.png");
  WriteBytes(folder / "bad.jpg", "");
  const ProgramRun shown = RunProgram(folder, {"crop", "bad.jpg", "x.png", "-o", "out"}, true);
  EXPECT_TRUE(Contains(shown.err, "2/2 x.png")) << shown.err;
  EXPECT_TRUE(Contains(shown.err, "bad.jpg: is empty")) << shown.err;
  EXPECT_EQ("\r\033[K", shown.err.substr(shown.err.size() - 4));
}

TEST(SamplePhoto, CropFollowsItsOptions) {
  const TestFolder folder;
  fs::copy_file(QX_SAMPLE_PHOTO, folder / "x.png");
  auto crop = [&](const Names& options) {
    const ProgramRun run = RunProgram(folder, Joined({"crop", "x.png", "-o", "out"}, options));
    EXPECT_EQ(0, run.status) << run.err;
    EXPECT_EQ("", run.err);
    return ReadImage(folder / "out" / (options.size() > 2 ? "x_face1.jpg" : "x_face1.png"));
  };
  const Image close = crop({"--ratio", "0"}), wide = crop({"--ratio", "1"}),
              jpeg = crop({"--format", "jpg", "--src-same"});
  EXPECT_LT(close.width, close.height);
  EXPECT_LT(close.width, wide.width);
  EXPECT_LT(close.width, jpeg.width);
  EXPECT_LT(jpeg.width, wide.width);
}

TEST(SamplePhoto, CropNeverReplacesAPhotograph) {
  const TestFolder folder;
  fs::copy_file(QX_SAMPLE_PHOTO, folder / "x.png");
  fs::copy_file(QX_SAMPLE_PHOTO, folder / "x_face1.png");
  const std::string before = ReadBytes(folder / "x_face1.png");
  const ProgramRun run = RunProgram(folder, {"crop", "x.png", "x_face1.png", "-o", "."});
  EXPECT_EQ(1, run.status);
  EXPECT_TRUE(Contains(run.err, "would replace the photograph")) << run.err;
  EXPECT_EQ(before, ReadBytes(folder / "x_face1.png"));
  EXPECT_EQ((Names{"x.png", "x_face1.png", "x_face1_face1.png"}), folder.Names());
}

TEST(SamplePhoto, InspectReportsAsTableJsonAndDrawing) {
  const TestFolder folder;
  fs::copy_file(QX_SAMPLE_PHOTO, folder / "x \xFF.png");
  const ProgramRun table = RunProgram(folder, {"inspect", "x \xFF.png"});
  EXPECT_EQ(0, table.status) << table.err;
  EXPECT_EQ(0u, table.out.rfind("x \\xFF.png: 512 x 512 pixels, 1 face\n", 0)) << table.out;

  const ProgramRun run = RunProgram(folder, {"inspect", "x \xFF.png", "--json", "--draw", "d.png"});
  EXPECT_EQ(0, run.status);
  EXPECT_EQ("", run.err);
  const auto report = nlohmann::json::parse(run.out);  // also checks UTF-8
  EXPECT_EQ("x \xEF\xBF\xBD.png", report["photograph"]);
  ASSERT_EQ(1u, report["faces"].size());
  const auto& face = report["faces"][0];
  EXPECT_EQ(11u, face["key_points"].size());
  EXPECT_EQ(38u, face["landmarks"].size());
  EXPECT_EQ(88u, face["dense_points"].size());
  EXPECT_LT(0.5, face["score"]);
  EXPECT_GT(20, std::abs(face["roll_degrees"].get<double>()));
  // The points lie in the face's box, the eyes above the chin.
  for (const auto& point : face["landmarks"]) {
    EXPECT_LE(face["corners"][0][0], point[0]);
    EXPECT_GE(face["corners"][3][0], point[0]);
  }
  EXPECT_LT(face["key_points"][0][1], face["key_points"][10][1]);
  const Image drawing = ReadImage(folder / "d.png");
  EXPECT_EQ(0, drawing.width % 512);
  EXPECT_EQ((Names{"d.png", "x \xFF.png"}), folder.Names());
}

}  // namespace
}  // namespace qx::cli
