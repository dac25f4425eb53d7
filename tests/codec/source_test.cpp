// Photographs that are decoded at the size and in the part that is asked for.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "codec/codec.h"
#include "photo/base/photo_source.h"
#include "support/test_files.h"

namespace qx::codec {
namespace {

using namespace qx::test;
using namespace qx::photo;
namespace fs = std::filesystem;
using vips::VImage;

int Difference(const Image& a, const Image& b) {
  if (a.width != b.width || a.height != b.height) return 999;
  int largest = 0;
  for (size_t i = 0; i < a.bgr.size(); ++i) largest = std::max(largest, std::abs(a.bgr[i] - b.bgr[i]));
  return largest;
}

// How the upright picture is stored, for each of EXIF's orientations.
VImage Tagged(const Image& upright, int orientation) {
  const std::pair<VipsAngle, bool> stored[] = {
      {VIPS_ANGLE_D0, false}, {VIPS_ANGLE_D0, true},    {VIPS_ANGLE_D180, false}, {VIPS_ANGLE_D180, true},
      {VIPS_ANGLE_D90, true}, {VIPS_ANGLE_D270, false}, {VIPS_ANGLE_D270, true},  {VIPS_ANGLE_D90, false}};
  const auto& [angle, isMirrored] = stored[orientation - 1];
  VImage tagged = ToVips(upright).rot(angle);
  if (isMirrored) tagged = tagged.flip(VIPS_DIRECTION_HORIZONTAL);
  tagged = tagged.copy();
  tagged.set("orientation", orientation);
  return tagged;
}

fs::path Write(const TestFolder& folder, const VImage& image, const char* name) {
  auto* options = VImage::option();
  if (std::string(name).find(".jpg") != std::string::npos) options->set("Q", 98);
  if (std::string(name).find(".webp") != std::string::npos) options->set("lossless", true)->set("effort", 0);
  image.write_to_file((folder / name).c_str(), options);
  return folder / name;
}

TEST(FileSource, GivesWhatThePictureInMemoryGives) {
  const TestFolder folder;
  const Image image = GradientImage(403, 301);  // no side a multiple of a reduction
  ImageSource whole(image);
  struct Case {
    PixelBox box;
    int32_t width, height;
  };
  const Case cases[] = {{{0, 0, 403, 301}, 403, 301},   {{5, 7, 105, 207}, 100, 200}, {{11, 3, 398, 299}, 201, 150},
                        {{200, 100, 403, 301}, 40, 41}, {{0, 0, 403, 301}, 31, 23},   {{399, 297, 403, 301}, 1, 1}};
  for (const char* name : {"a.jpg", "a.webp", "a.png", "a.tif"}) {
    const int orientations = std::string(name) == "a.png" ? 1 : 8;  // PNG knows none
    for (int orientation = 1; orientation <= orientations; ++orientation) {
      FileSource source(Write(folder, Tagged(image, orientation), name));
      ASSERT_EQ(403, source.Width()) << name << orientation;
      ASSERT_EQ(301, source.Height()) << name << orientation;
      EXPECT_GE(4, Difference(image, source.Whole())) << name << orientation;
      for (const Case& c : cases) {
        // Shortly after an overview and on its own.
        const Image expected = whole.Part(c.box, c.width, c.height);
        const Image alone = source.Part(c.box, c.width, c.height);
        EXPECT_GE(5, Difference(expected, alone)) << name << orientation << " " << c.width;
        source.Overview(1);
        const Image after = source.Part(c.box, c.width, c.height);
        EXPECT_GE(5, Difference(expected, after)) << name << orientation << " " << c.width;
      }
    }
  }
}

TEST(FileSource, ReducesTheOverviewToNoLessThanWanted) {
  const TestFolder folder;
  const Image image = GradientImage(2403, 1801);  // too large to be kept
  const auto pixels = static_cast<int64_t>(image.Pixels());
  for (const char* name : {"a.jpg", "a.webp", "a.png"}) {
    for (const int orientation : {1, std::string(name) == "a.png" ? 1 : 6}) {
      FileSource source(Write(folder, Tagged(image, orientation), name));
      for (const int64_t least : {int64_t{5000}, int64_t{60'000}, int64_t{300'000}, pixels, 2 * pixels}) {
        const Image overview = source.Overview(least);
        EXPECT_LE(std::min(least, pixels), static_cast<int64_t>(overview.Pixels())) << name << least;
        if (least == 300'000) {
          EXPECT_GT(5 * least, static_cast<int64_t>(overview.Pixels())) << name;
        }
        // The same picture, only smaller.
        EXPECT_NEAR(static_cast<double>(overview.width) / overview.height, 2403.0 / 1801, 0.06) << name << least;
        for (const auto& [x, y] : {std::pair(0.1, 0.2), std::pair(0.9, 0.7)}) {
          const uint8_t* seen =
              overview.At(static_cast<int>(x * overview.width), static_cast<int>(y * overview.height));
          EXPECT_NEAR(20 + 200 * y, seen[1], 9) << name << least;
          EXPECT_NEAR(30 + 200 * x, seen[2], 9) << name << least;
        }
      }
    }
  }
}

TEST(FileSource, TakesPartsFromTheOverviewHandedBack) {
  const TestFolder folder;
  const Image image = GradientImage(2403, 1801);  // halves leave out a column and a row
  ImageSource whole(image);
  for (int orientation = 1; orientation <= 8; ++orientation) {
    FileSource source(Write(folder, Tagged(image, orientation), "a.jpg"));
    Image overview = source.Overview(int64_t{1'000'000});
    ASSERT_GT(1300, overview.width);
    for (size_t i = 0; i < overview.bgr.size(); i += 3) overview.bgr[i] = 200;  // to be told from the file's own blue
    source.Keep(std::move(overview));
    const PixelBox box{402, 200, 1402, 1700};
    const Image coarse = source.Part(box, 400, 600), fine = source.Part(box, 900, 1350);
    EXPECT_EQ(200, coarse.At(200, 300)[0]) << orientation;
    EXPECT_NE(200, fine.At(200, 300)[0]) << orientation;
    Image expected = whole.Part(box, 400, 600);
    for (size_t i = 0; i < expected.bgr.size(); i += 3) expected.bgr[i] = 200;
    EXPECT_GE(4, Difference(expected, coarse)) << orientation;
  }
}

TEST(FileSource, AnswersAlikeFromBytesAndWhenTheFileHasGone) {
  const TestFolder folder;
  const Image image = GradientImage(403, 301);
  const fs::path path = Write(folder, ToVips(image), "a.jpg");
  const std::string text = ReadBytes(path);
  FileSource fromBytes(Bytes(text.begin(), text.end())), fromFile(path);
  fs::remove(path);
  EXPECT_EQ(text.size(), fromFile.FileSize());
  EXPECT_EQ(fromBytes.Overview(100).bgr, fromFile.Overview(100).bgr);
  EXPECT_EQ(fromBytes.Part({10, 10, 310, 210}, 140, 90).bgr, fromFile.Part({10, 10, 310, 210}, 140, 90).bgr);
  for (const PixelBox box : {PixelBox{-1, 0, 5, 5}, PixelBox{0, 0, 404, 5}, PixelBox{9, 9, 9, 12}}) {
    EXPECT_THROW(fromFile.Part(box, 1, 1), std::invalid_argument);
  }
  EXPECT_THROW(fromFile.Part({0, 0, 5, 5}, 6, 5), std::invalid_argument);
}

// Colours of a profile of their own, which a reduced picture needs too.
TEST(FileSource, ConvertsPartsToSrgb) {
  const TestFolder folder;
  const Image image = GradientImage(403, 301);
  const VImage wide = ToVips(image).icc_transform("p3", VImage::option()->set("input_profile", "srgb"));
  FileSource source(Write(folder, wide, "a.jpg"));
  EXPECT_GE(7,
            Difference(ImageSource(image).Part({20, 30, 380, 290}, 90, 65), source.Part({20, 30, 380, 290}, 90, 65)));
}

TEST(FileSource, RefusesFilesWithoutReadingThem) {
  const TestFolder folder;
  std::ofstream(folder / "huge.jpg") << "\xFF\xD8\xFF";
  fs::resize_file(folder / "huge.jpg", uint64_t{6} << 30);  // a hole
  EXPECT_TRUE(Contains(FailureOf([&] { FileSource source(folder / "huge.jpg"); }), "takes more bytes"));
}

}  // namespace
}  // namespace qx::codec
