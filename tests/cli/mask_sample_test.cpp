// mask, and what make does with its files, on a real photograph of one person.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "codec/codec.h"
#include "photo/face/upright.h"
#include "photo/render/background.h"
#include "support/test_files.h"

namespace qx::cli {
namespace {

using namespace qx::test;
using namespace qx::photo;
using namespace qx::codec;

namespace fs = std::filesystem;

void MustRun(const TestFolder& folder, const Names& arguments) {
  const ProgramRun run = RunProgram(folder, arguments);
  EXPECT_EQ(0, run.status) << run.err;
  EXPECT_EQ("", run.err);
}

// How many samples differ by more than that many levels.
size_t Differing(const Image& a, const Image& b, int levels) {
  EXPECT_EQ(a.bgr.size(), b.bgr.size());
  size_t count = 0;
  for (size_t i = 0; i < std::min(a.bgr.size(), b.bgr.size()); ++i) count += std::abs(a.bgr[i] - b.bgr[i]) > levels;
  return count;
}

Image WithoutOpacity(const fs::path& path) {
  const vips::VImage picture = vips::VImage::new_from_file(path.c_str());
  EXPECT_EQ(4, picture.bands());
  return Reread(picture.extract_band(0, vips::VImage::option()->set("n", 3)));
}

TEST(SampleMask, IsTakenBackForTheSamePicture) {
  const TestFolder folder;
  const Image sample = ReadImage(QX_SAMPLE_PHOTO);
  // Upright, and lying, where the mask lies as the photograph does; leaning, so that it is straightened.
  for (int kind = 0; kind < 3; ++kind) {
    const vips::VImage turned = ToVips(TurnClockwise(sample, kind == 1 ? 1 : 0));
    (kind == 2 ? turned.rotate(7.5) : turned).write_to_file((folder / "x.png").c_str());
    MustRun(folder, {"mask", "x.png", "-o", "m.png", "--cutout", "c.png"});
    FileSource source(folder / "x.png");
    EXPECT_EQ(ReadMask(folder / "m.png", source.Width(), source.Height()).values,
              ReadMask(folder / "c.png", source.Width(), source.Height()).values);
    for (const char* preset : {"schengen-visa", "one-inch"}) {
      const Names make{"make", "x.png", "--preset", preset, "--quiet", "-o"};
      MustRun(folder, Joined(make, {"own.png"}));
      MustRun(folder, Joined(make, {"given.png", "--mask", "m.png"}));
      EXPECT_EQ(0u, Differing(ReadImage(folder / "own.png"), ReadImage(folder / "given.png"), 0)) << preset << kind;
    }
  }
}

TEST(SampleMask, OfALargePhotographGivesAlmostTheSamePicture) {
  const TestFolder folder;
  ToVips(ReadImage(QX_SAMPLE_PHOTO)).resize(4.5).write_to_file((folder / "x.png").c_str());
  MustRun(folder, {"mask", "x.png", "-o", "m.png"});
  const Names make{"make", "x.png", "--preset", "one-inch", "--quiet", "-o"};
  MustRun(folder, Joined(make, {"own.png"}));
  MustRun(folder, Joined(make, {"given.png", "--mask", "m.png"}));
  const Image own = ReadImage(folder / "own.png"), given = ReadImage(folder / "given.png");
  EXPECT_GT(own.bgr.size() / 1000, Differing(own, given, 8));
}

TEST(SampleMask, CutOutIsThePersonAlone) {
  const TestFolder folder;
  fs::copy_file(QX_SAMPLE_PHOTO, folder / "x.png");
  MustRun(folder, {"mask", "x.png", "--cutout", "c.png"});
  const Image sample = ReadImage(QX_SAMPLE_PHOTO), colours = WithoutOpacity(folder / "c.png");
  const Mask mask = ReadMask(folder / "c.png", sample.width, sample.height);
  // Opaque pixels are the photograph's. Before white it is what is read where there is no opacity.
  size_t opaque = 0, foreign = 0;
  for (size_t i = 0; i < mask.values.size(); ++i) {
    if (mask.values[i] != 255) continue;
    ++opaque;
    foreign += !std::equal(&sample.bgr[3 * i], &sample.bgr[3 * i] + 3, &colours.bgr[3 * i]);
  }
  EXPECT_LT(sample.Pixels() / 4, opaque);
  EXPECT_EQ(0u, foreign);
  EXPECT_EQ(0u, Differing(Composite(colours, mask, Background()), ReadImage(folder / "c.png"), 1));

  // Made of the cut-out, before the colour on which it is seen, the document is the one made of the photograph.
  const Names make{"make", "x.png", "--preset", "one-inch", "--quiet"};
  MustRun(folder, Joined(make, {"-o", "t.png", "--background", "transparent", "--compare"}));
  MustRun(folder, Joined(make, {"-o", "w.png", "--background", "white", "--compare"}));
  const Image clear = WithoutOpacity(folder / "t.png"), white = ReadImage(folder / "w.png");
  EXPECT_EQ(300, ReadPrintResolution(folder / "t.png")->x);
  EXPECT_GT(white.bgr.size() / 50, Differing(ReadImage(folder / "t.png"), white, 4));
  EXPECT_GT(white.bgr.size() / 4,
            Differing(ReadImage(folder / "t-compare.png"), ReadImage(folder / "w-compare.png"), 4));
  EXPECT_LT(white.bgr.size() / 4, Differing(clear, white, 100));  // what nobody sees
}

TEST(SampleMask, AnswersWrongUsageBeforeAnythingIsWritten) {
  const TestFolder folder;
  fs::copy_file(QX_SAMPLE_PHOTO, folder / "x.png");
  fs::create_directory(folder / "d.png");
  const std::pair<Names, std::string> cases[] = {
      {{}, "--cutout"},
      {{"-o", "m.jpg"}, "end the name in .png"},
      {{"-o", "m.png", "--cutout", "m"}, "end the name in .png"},
      {{"-o", "m.png", "--cutout", "./d.png/../m.png"}, "is the mask's name too"},
      {{"-o", "./x.png"}, "would replace the photograph"},
      {{"--cutout", "x.png"}, "would replace the photograph"},
      {{"-o", "nowhere/m.png"}, "no such folder"},
      {{"-o", "m.png", "--pair", "--person", "1"}, "leave one of them out"}};
  for (const auto& [options, reason] : cases) {
    EXPECT_EQ(2, StatusOfRefusal(folder, Joined({"mask", "x.png"}, options), reason)) << reason;
  }
  const Names mask{"mask", "x.png", "-o", "m.png"};
  EXPECT_EQ(1, StatusOfRefusal(folder, Joined(mask, {"--person", "2"}), "x.png: "));
  EXPECT_EQ(1, StatusOfRefusal(folder, Joined(mask, {"--pair"}), "x.png: "));
  // Both or none.
  EXPECT_EQ(1, StatusOfRefusal(folder, Joined(mask, {"--cutout", "d.png"}), "d.png"));
  ToVips(GradientImage(40, 50)).write_to_file((folder / "g.png").c_str());
  EXPECT_EQ(1, StatusOfRefusal(folder, {"mask", "g.png", "-o", "m.png"}, "g.png: no face found"));
  EXPECT_EQ((Names{"d.png", "g.png", "x.png"}), folder.Names());
  const ProgramRun run = RunProgram(folder, mask);
  EXPECT_EQ("x.png: m.png, 512 x 512 pixels\n", run.out) << run.err;
}

}  // namespace
}  // namespace qx::cli
