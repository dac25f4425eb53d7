// Retouching on a real photograph of one person.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "photo/face/face_finder.h"
#include "photo/face/upright.h"
#include "support/test_files.h"

namespace qx::cli {
namespace {

using namespace qx::test;
using namespace qx::photo;
using namespace qx::codec;

namespace fs = std::filesystem;

// The pixels in which two pictures of one size differ.
struct Difference {
  int left = INT32_MAX, top = INT32_MAX, right = -1, bottom = -1;
  size_t pixels = 0;
};

Difference Compare(const Image& one, const Image& other) {
  Difference difference;
  if (one.width != other.width || one.height != other.height) {
    ADD_FAILURE() << "the sizes differ";
    return difference;
  }
  for (size_t i = 0; i < one.bgr.size(); i += 3) {
    if (std::equal(&one.bgr[i], &one.bgr[i] + 3, &other.bgr[i])) continue;
    const int x = static_cast<int>(i / 3) % one.width, y = static_cast<int>(i / 3) / one.width;
    difference.left = std::min(difference.left, x);
    difference.right = std::max(difference.right, x);
    difference.top = std::min(difference.top, y);
    difference.bottom = std::max(difference.bottom, y);
    ++difference.pixels;
  }
  return difference;
}

void MustRun(const TestFolder& folder, const Names& arguments) {
  const ProgramRun run = RunProgram(folder, arguments);
  EXPECT_EQ(0, run.status) << run.err;
  EXPECT_EQ("", run.err);
}

Image Retouched(const TestFolder& folder, const Names& options) {
  MustRun(folder, Joined({"retouch", "x.png", "-o", "y.png", "--quiet"}, options));
  return ReadImage(folder / "y.png");
}

TEST(SampleRetouch, ChangesTheFaceAloneAndNothingAtStrengthZero) {
  const TestFolder folder;
  // Large enough for every stage: the eyes' lenses fade in from 15 to 25 pixels.
  ToVips(ReadImage(QX_SAMPLE_PHOTO)).resize(2).write_to_file((folder / "x.png").c_str());
  const Image photograph = ReadImage(folder / "x.png");
  const ProbedFace face = FaceFinder().Find(photograph).at(0);
  EXPECT_EQ(0u, Compare(photograph, Retouched(folder, {"--eyes", "-0", "--skin", "0"})).pixels);
  std::vector<Image> results;
  for (const Names& options :
       {Names{"--eyes", "3"}, Names{"--eyes", "-3"}, Names{"--mouth=4"}, Names{"--skin", "2"}, Names{"--detail"},
        Names{"--face", "3"}, Names{"--eyes", "3", "--mouth", "4", "--skin", "2", "--detail", "--face", "3"}}) {
    results.push_back(Retouched(folder, options));
    const Difference changed = Compare(photograph, results.back());
    const auto reach = static_cast<int>(face.Width());
    EXPECT_GT(changed.pixels, 200u) << options[0];
    EXPECT_GE(changed.left, face.corners[0].x - reach) << options[0];
    EXPECT_LE(changed.right, face.corners[3].x + reach) << options[0];
    EXPECT_GE(changed.top, face.corners[0].y - reach) << options[0];
    EXPECT_LE(changed.bottom, face.corners[3].y + 2 * reach) << options[0];  // the skin goes on below the chin
    for (size_t k = 0; k + 1 < results.size(); ++k) EXPECT_GT(Compare(results[k], results.back()).pixels, 0u) << k;
  }
  // The tone is that of the whole photograph.
  EXPECT_GT(Compare(photograph, Retouched(folder, {"--tone", "3"})).pixels, photograph.bgr.size() / 4);
  EXPECT_EQ(0u, Compare(Retouched(folder, {}), Retouched(folder, {"--beauty", "natural"})).pixels);
}

TEST(SampleRetouch, TurnedPhotographsStayTurnedAndComparesHoldBoth) {
  const TestFolder folder;
  const Image sample = ReadImage(QX_SAMPLE_PHOTO);
  ToVips(sample).write_to_file((folder / "x.png").c_str());
  const Image upright = Retouched(folder, {"--face", "3"});
  for (int turns = 1; turns < 4; ++turns) {
    ToVips(TurnClockwise(sample, turns)).write_to_file((folder / "x.png").c_str());
    EXPECT_EQ(0u, Compare(TurnClockwise(upright, turns), Retouched(folder, {"--face", "3"})).pixels) << turns;
  }
  const Image turned = ReadImage(folder / "x.png");
  MustRun(folder, {"retouch", "x.png", "-o", "y.png", "--beauty", "strong", "--compare"});
  const Image both = ReadImage(folder / "y-compare.png");
  EXPECT_GT(both.width, 2 * turned.width);
  EXPECT_EQ(both.height, turned.height);
  // Where the one cannot be written the other does not appear either.
  fs::create_directory(folder / "z.png");
  const Names before = folder.Names();
  EXPECT_EQ(1, StatusOfRefusal(folder, {"retouch", "x.png", "-o", "z.png", "--compare"}, "a folder has that name"));
  EXPECT_EQ(before, folder.Names());
}

TEST(SampleRetouch, OnePersonOfTwo) {
  const TestFolder folder;
  const Image one = ReadImage(QX_SAMPLE_PHOTO);
  const vips::VImage sample = ToVips(one);
  sample.join(sample, VIPS_DIRECTION_HORIZONTAL).write_to_file((folder / "x.png").c_str());
  const Image photograph = ReadImage(folder / "x.png");
  const std::vector<ProbedFace> faces = FaceFinder().Find(photograph);
  ASSERT_EQ(2u, faces.size());
  const bool leftFirst = faces[0].corners[0].x < faces[1].corners[0].x;
  const Difference first = Compare(photograph, Retouched(folder, {"--skin", "3", "--person", "1"}));
  const Difference second = Compare(photograph, Retouched(folder, {"--skin", "3", "--person", "2"}));
  EXPECT_GT(first.pixels, 100u);
  EXPECT_GT(second.pixels, 100u);
  EXPECT_LT(leftFirst ? first.right : second.right, photograph.width / 2);
  EXPECT_GE(leftFirst ? second.left : first.left, photograph.width / 2);
  const Difference all = Compare(photograph, Retouched(folder, {"--skin", "3"}));
  EXPECT_EQ(all.pixels, first.pixels + second.pixels);
}

TEST(SampleRetouch, FinishedPhotographsHaveTheirMaskFollowTheFace) {
  const TestFolder folder;
  fs::copy_file(QX_SAMPLE_PHOTO, folder / "x.png");
  const Names make{"make", "x.png", "-o", "y.png", "--size", "600x800px", "--background", "#0000ff", "--json"};
  const auto made = [&](const Names& options) {
    const ProgramRun run = RunProgram(folder, Joined(make, options));
    EXPECT_EQ(0, run.status) << run.err;
    return nlohmann::json::parse(run.out, nullptr, false);
  };
  const auto plain = made({});
  EXPECT_EQ(false, plain["retouched"]);
  const auto narrow = made({"--face", "5", "--compare"});
  EXPECT_EQ(true, narrow["retouched"]);
  EXPECT_LT(narrow["face_width_mm"], plain["face_width_mm"]);
  EXPECT_NEAR(narrow["head_mm"], plain["head_mm"], 0.3);
  // The blue follows the narrower jaw, so there is more of it.
  const Image both = ReadImage(folder / "y-compare.png");
  size_t blue[2] = {0, 0};
  for (size_t i = 0; i < both.bgr.size() / 3; ++i) {
    const bool background = both.bgr[3 * i] > 250 && both.bgr[3 * i + 1] < 5 && both.bgr[3 * i + 2] < 5;
    if (background) ++blue[i % static_cast<size_t>(both.width) < static_cast<size_t>(both.width) / 2 ? 0 : 1];
  }
  EXPECT_GT(blue[1], blue[0]);
  EXPECT_LT(10 * blue[1], 11 * blue[0]);
  // --eyes is a place with a unit and a size without.
  const auto placed = made({"--eyes", "60-62%", "--eyes", "5"});
  EXPECT_EQ(true, placed["retouched"]);
  EXPECT_NEAR(placed["eyes_mm"].get<double>() / (800 * 25.4 / 300), 0.61, 0.011);
}

}  // namespace
}  // namespace qx::cli
