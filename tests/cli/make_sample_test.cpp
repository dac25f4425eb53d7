// make and check on a real photograph of one person.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "codec/codec.h"
#include "photo/document/presets.h"
#include "photo/face/upright.h"
#include "support/posed_sample.h"
#include "support/test_files.h"

namespace qx::cli {
namespace {

using namespace qx::test;
using namespace qx::photo;
using namespace qx::codec;

namespace fs = std::filesystem;
using nlohmann::json;

json MustReport(const TestFolder& folder, const Names& arguments, int status = 0) {
  const ProgramRun run = RunProgram(folder, arguments);
  EXPECT_EQ(status, run.status) << run.err;
  EXPECT_EQ("", run.err);
  return json::parse(run.out, nullptr, false);
}

double ValueOf(const json& check, const std::string& name) {
  for (const json& line : check["checks"]) {
    if (line["name"] == name) return line["value"];
  }
  ADD_FAILURE() << name;
  return 0;
}

// What failed, by name.
Names FailedIn(const json& check) {
  Names names;
  for (const json& line : check["checks"]) {
    if (line.value("passed", true) == false) names.push_back(line["name"]);
  }
  for (const json& measure : check["measures"]) {
    if (measure["state"] == "failed") names.push_back(measure["id"]);
  }
  EXPECT_EQ(names.empty(), check["passed"]);
  EXPECT_EQ(names.size(), check["summary"]["failed"]);
  return names;
}

// White where a block around head and chest is.
Image BlockMask(const Image& photograph) {
  const ProbedFace face = FaceFinder().Find(photograph).at(0);
  const double side = face.Width(), middle = (face.corners[0].x + face.corners[1].x) / 2.0;
  Image mask{photograph.width, photograph.height, Bytes(photograph.bgr.size())};
  for (int y = 0; y < mask.height; ++y) {
    for (int x = 0; x < mask.width; ++x) {
      const bool person = std::abs(x - middle) < side && y > face.corners[0].y - 0.5 * side;
      std::fill_n(mask.bgr.begin() + 3 * (y * mask.width + x), 3, person ? 255 : 0);
    }
  }
  return mask;
}

TEST(SampleMake, FinishedPhotographsPassTheirCheck) {
  const TestFolder folder;
  fs::copy_file(QX_SAMPLE_PHOTO, folder / "x.png");
  // The person laughs: one document takes that, one a smile with the mouth closed, the others say nothing or no.
  const std::pair<std::string, Names> cases[] = {{"us-passport", {}},
                                                 {"de-passport", {"LipGap"}},
                                                 {"cn-id-card", {"ExpressionNeutrality", "LipGap"}},
                                                 {"one-inch", {"ExpressionNeutrality", "LipGap"}}};
  for (const auto& [preset, failed] : cases) {
    SCOPED_TRACE(preset);
    const Document document = Derive(FindPreset(preset));
    const json made = MustReport(
        folder, {"make", "x.png", "-o", "y.jpg", "--preset", preset, "--background", "white", "--force", "--json"});
    const json check =
        MustReport(folder, {"check", "y.jpg", "--preset", preset, "--json", "--draw", "d.png"}, failed.empty() ? 0 : 1);
    EXPECT_EQ(failed, FailedIn(check));
    for (const char* name : {"head", "eyes"}) {
      const double intended = made[std::string(name) + "_mm"];
      EXPECT_NEAR(intended, ValueOf(check, name), 0.01 * intended) << name;
    }
    EXPECT_NEAR(made["top_mm"], ValueOf(check, "space above"), 0.01 * document.heightMm);
    const Image image = ReadImage(folder / "y.jpg");
    EXPECT_EQ(document.width, image.width);
    EXPECT_EQ(document.height, image.height);
    EXPECT_EQ(document.dpi, ReadPrintResolution(folder / "y.jpg")->x);
    EXPECT_GE(document.maxKb.value_or(1000) * 1000, static_cast<int64_t>(fs::file_size(folder / "y.jpg")));
  }
  const std::string bytes = ReadBytes(folder / "y.jpg");
  MustReport(folder, {"make", "x.png", "-o", "y.jpg", "--preset", "one-inch", "--background", "white", "--json"});
  EXPECT_EQ(bytes, ReadBytes(folder / "y.jpg"));  // the same file every time
  const Image drawing = ReadImage(folder / "d.png");
  EXPECT_LT(1600, drawing.width);  // a small photograph is enlarged, with room for words
}

TEST(SampleMake, TurnedAndScaledPhotographsGiveTheSameProportions) {
  const TestFolder folder;
  const Image sample = ReadImage(QX_SAMPLE_PHOTO);
  double upright = 0;
  const auto expectHead = [&](const vips::VImage& photograph, int quarterTurns, double tolerance) {
    photograph.write_to_file((folder / "x.png").c_str());
    const json made = MustReport(folder, {"make", "x.png", "-o", "y.png", "--preset", "cn-visa", "--json"});
    EXPECT_EQ(quarterTurns, made["quarter_turns"]);
    const json check = MustReport(folder, {"check", "y.png", "--preset", "cn-visa", "--json"}, 1);
    // The person laughs, and half of the sample is too small to stay sharp.
    const Names laughs{"ExpressionNeutrality", "LipGap"};
    EXPECT_EQ(photograph.width() < sample.width ? Joined({"Sharpness"}, laughs) : laughs, FailedIn(check));
    if (upright == 0) upright = ValueOf(check, "head");
    EXPECT_NEAR(upright, ValueOf(check, "head"), tolerance * upright) << photograph.width();
  };
  for (int turns = 0; turns < 4; ++turns) expectHead(ToVips(TurnClockwise(sample, turns)), (4 - turns) % 4, 0.01);
  for (const double scale : {0.5, 2.5}) expectHead(ToVips(sample).resize(scale), 0, 0.02);
}

TEST(SampleMake, FollowsItsOptions) {
  const TestFolder folder;
  const Image sample = ReadImage(QX_SAMPLE_PHOTO);
  ToVips(sample).write_to_file((folder / "x.png").c_str());
  json made = MustReport(folder, {"make", "x.png", "-o", "y.png", "--size", "40x60mm", "--dpi", "254", "--head",
                                  "50-52%", "--top", "15-20%", "--background", "#3040ff", "--json"});
  EXPECT_EQ(400, made["width"]);
  EXPECT_EQ(600, made["height"]);
  EXPECT_TRUE(made["head_mm"] >= 30.0 && made["head_mm"] <= 31.2);
  EXPECT_TRUE(made["top_mm"] >= 9.0 && made["top_mm"] <= 12.0);
  const Image blue = ReadImage(folder / "y.png");
  EXPECT_EQ((Bytes{0xff, 0x40, 0x30}), Bytes(blue.bgr.begin(), blue.bgr.begin() + 3));
  made = MustReport(folder, {"make", "x.png", "-o", "y.png", "--preset", "cn-visa", "--head", "29mm", "--json"});
  EXPECT_NEAR(29, made["head_mm"], 0.05);
  EXPECT_EQ("crown", made["head_to"]);
  EXPECT_EQ(made["head_to_crown_mm"], made["head_mm"]);
  made = MustReport(
      folder, {"make", "x.png", "-o", "y.png", "--preset", "cn-visa", "--head", "29mm", "--head-to", "hair", "--json"});
  EXPECT_NEAR(29, made["head_with_hair_mm"], 0.05);
  EXPECT_EQ(made["head_with_hair_mm"], made["head_mm"]);
  // A size in kB, a mask from a file, and silence.
  made = MustReport(folder, {"make", "x.png", "-o", "y.jpg", "--preset", "de-passport", "--max-kb", "60", "--json"});
  EXPECT_GE(60'000u, fs::file_size(folder / "y.jpg"));
  EXPECT_GT(95, made["quality"]);
  ToVips(BlockMask(sample)).write_to_file((folder / "m.png").c_str());
  const ProgramRun masked =
      RunProgram(folder, {"make", "x.png", "-o", "z.png", "--preset", "one-inch", "--mask", "m.png", "--quiet"});
  EXPECT_EQ(0, masked.status) << masked.err;
  EXPECT_EQ("", masked.out + masked.err);
}

TEST(SampleMake, SaysWhyNothingFitsAndRelaxes) {
  const TestFolder folder;
  // Cut off right below the chin.
  const Image sample = ReadImage(QX_SAMPLE_PHOTO);
  ToVips(sample).extract_area(0, 0, sample.width, 200).write_to_file((folder / "x.png").c_str());
  const Names arguments{"make", "x.png", "-o", "y.jpg", "--preset", "cn-visa"};
  EXPECT_EQ(1, StatusOfRefusal(folder, arguments, "ends too close below the chin"));
  EXPECT_FALSE(fs::exists(folder / "y.jpg"));
  const json made = MustReport(folder, Joined(arguments, {"--relax", "--json"}));
  EXPECT_EQ(true, made["relaxed"]);
  EXPECT_EQ(1, RunProgram(folder, {"check", "y.jpg", "--preset", "cn-visa"}).status);
}

TEST(SampleMake, SaysWhatCannotBeMendedOrRefusesIt) {
  const TestFolder folder;
  Image photograph = NeutralSample();
  ToVips(photograph).write_to_file((folder / "good.png").c_str());
  CloseEyes(&photograph);
  ToVips(photograph).write_to_file((folder / "closed.png").c_str());
  const Names to{"-o", "y.jpg", "--preset", "schengen-visa", "--json"};
  const json good = MustReport(folder, Joined({"make", "good.png", "--strict", "--no-straighten"}, to));
  EXPECT_EQ(json::array(), good["reasons"]);
  const std::string before = ReadBytes(folder / "y.jpg");
  const Names closed = Joined({"make", "closed.png"}, to);
  EXPECT_EQ(1, StatusOfRefusal(folder, Joined(closed, {"--strict"}), "the eyes look closed"));
  EXPECT_EQ(1, StatusOfRefusal(folder, Joined(closed, {"--strict"}), "leave out --strict"));
  EXPECT_EQ(before, ReadBytes(folder / "y.jpg"));
  EXPECT_EQ((Names{"closed.png", "good.png", "y.jpg"}), folder.Names());
  const json made = MustReport(folder, closed);
  EXPECT_EQ("EyesOpen", made["reasons"][0]);
  EXPECT_TRUE(Contains(made["remarks"].dump(), "the eyes look closed")) << made["remarks"];
}

TEST(SampleMake, PairKeepsBothPersons) {
  const TestFolder folder;
  // Doubled side by side, close enough to each other.
  const Image sample = ReadImage(QX_SAMPLE_PHOTO);
  FaceFinder finder;
  const ProbedFace face = finder.Find(sample).at(0);
  const int width = static_cast<int>(2.15 * face.Width());
  const int left = (face.corners[0].x + face.corners[1].x - width) / 2;
  const vips::VImage half = ToVips(sample).extract_area(left, 0, width, sample.height);
  half.join(half, VIPS_DIRECTION_HORIZONTAL).write_to_file((folder / "x.png").c_str());
  MustReport(folder, {"make", "x.png", "-o", "y.png", "--preset", "cn-marriage-certificate", "--pair", "--json"});
  const Image made = ReadImage(folder / "y.png");
  EXPECT_EQ(626, made.width);
  EXPECT_EQ(413, made.height);
  EXPECT_EQ(0x1b, made.bgr[0]);
  const std::vector<ProbedFace> faces = finder.Find(made);
  ASSERT_EQ(2u, faces.size());
  EXPECT_NEAR(faces[0].Width(), faces[1].Width(), 0.05 * faces[0].Width());
  EXPECT_EQ(2, RunProgram(folder, {"make", "x.png", "-o", "n.png", "--preset", "cn-marriage-certificate"}).status);
}

}  // namespace
}  // namespace qx::cli
