#include "photo/render/retouch.h"

#include <gtest/gtest.h>

#include <cmath>

#include "photo/studio.h"
#include "support/painted_face.h"
#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;

TEST(Retouch, KindsGrowInStrength) {
  const Retouch light = NamedRetouch("light"), natural = NamedRetouch("natural"), strong = NamedRetouch("strong");
  EXPECT_FALSE(light.IsNone());
  EXPECT_LT(light.skin, natural.skin);
  EXPECT_LT(natural.skin, strong.skin);
  EXPECT_LT(natural.face, strong.face);
  EXPECT_LE(strong.skin, kMostSkin);
  EXPECT_THROW(NamedRetouch("Strong"), Failure);
}

TEST(Retouch, FollowsTheAuthoritysPolicy) {
  const Preset &strict = FindPreset("de-passport"), &free = FindPreset("one-inch");
  Retouch mouth;
  mouth.mouth = -1;
  EXPECT_THROW(CheckRetouch(strict, mouth, false), Failure);
  CheckRetouch(strict, mouth, true);
  CheckRetouch(strict, Retouch(), false);
  CheckRetouch(free, mouth, false);
}

TEST(Retouch, ComparesSideBySide) {
  const Image before = GradientImage(30, 7);
  Image after = before;
  for (uint8_t& byte : after.bgr) byte = static_cast<uint8_t>(255 - byte);
  const Image both = SideBySide(before, after);
  ASSERT_EQ(64, both.width);
  ASSERT_EQ(7, both.height);
  for (int y = 0; y < 7; ++y) {
    const uint8_t* const row = &both.bgr[static_cast<size_t>(y) * 64 * 3];
    const auto from = static_cast<ptrdiff_t>(y) * 90;
    EXPECT_TRUE(std::equal(row, row + 90, before.bgr.begin() + from)) << y;
    EXPECT_EQ(255, row[90] & row[101]) << y;
    EXPECT_TRUE(std::equal(row + 102, row + 192, after.bgr.begin() + from)) << y;
  }
}

TEST(Retouch, KeepsWhatIsNoSkinAndTheSkinsPores) {
  const PaintedFace painted;
  double before = 0;
  for (const double skin : {0.7, 1.2, 2.0, 3.0, 5.0}) {
    const Image bare = painted.Retouched(skin, false), kept = painted.Retouched(skin, true);
    for (const auto part :
         {PaintedFace::kLips, PaintedFace::kBrows, PaintedFace::kNose, PaintedFace::kRim, PaintedFace::kBeard}) {
      EXPECT_LE(painted.Change(kept, part), 0.4 * painted.Change(bare, part) + 0.1) << skin << " part " << part;
    }
    // Of the skin all but a share is as smooth as before, and more so the stronger.
    const double change = painted.Change(kept, PaintedFace::kSkin);
    EXPECT_GT(change, before) << skin;
    before = 0.9 * change;
    const double fine = painted.FineTexture(painted.image);
    EXPECT_GT(painted.FineTexture(kept), 0.3 * fine) << skin;
    EXPECT_LT(painted.FineTexture(kept), 0.95 * fine) << skin;
    EXPECT_LT(painted.FineTexture(bare), painted.FineTexture(kept)) << skin;
    // Spots are gone as far as before.
    EXPECT_NEAR(PaintedFace::Mean(painted, bare, PaintedFace::kSpots),
                PaintedFace::Mean(painted, kept, PaintedFace::kSpots), 4)
        << skin;
  }
  const Image strong = painted.Retouched(2, true);
  EXPECT_GT(PaintedFace::Mean(painted, strong, PaintedFace::kSpots),
            PaintedFace::Mean(painted, painted.image, PaintedFace::kSpots) + 20);
  EXPECT_GT(painted.Change(painted.Retouched(2, false), PaintedFace::kLips), 0.3) << "nothing to keep";
}

TEST(Retouch, TakesPointsAnywhereAndPicturesOfAnySize) {
  const PaintedFace painted;
  Retouch all = NamedRetouch("strong");
  std::mt19937 random(5);
  for (const int reach : {3, 400, 2000, 1000000}) {
    for (int round = 0; round < 8; ++round) {
      ProbedFace face = painted.face;
      const auto anywhere = [&] { return static_cast<int32_t>(random() % static_cast<unsigned>(2 * reach)) - reach; };
      for (Point& point : face.densePoints) {
        if (round % 2 == 0) point = {anywhere(), anywhere()};
      }
      for (size_t i = 0; i < 2; ++i) face.keyPoints[i] = {anywhere(), anywhere()};
      Image image = round % 3 == 0 ? painted.image : GradientImage(1 + round * 9, 70 - round * 9);
      RetouchFace(face, all, &image);
    }
  }
  Image none;
  RetouchFace(painted.face, all, &none);
  EXPECT_TRUE(none.bgr.empty());
}

TEST(Retouch, RefusesStrengthsOutOfTheirRange) {
  const PaintedFace painted;
  const auto refuses = [&painted](const Retouch& retouch) {
    Image image = painted.image;
    EXPECT_THROW(RetouchFace(painted.face, retouch, &image), Failure);
    EXPECT_EQ(painted.image.bgr, image.bgr);
  };
  for (double Retouch::*strength : {&Retouch::eyes, &Retouch::mouth, &Retouch::skin, &Retouch::face}) {
    for (const double value : {10.5, -10.5, std::nan(""), HUGE_VAL}) {
      Retouch retouch = NamedRetouch("light");
      retouch.*strength = value;
      refuses(retouch);
    }
  }
  Retouch toned;
  toned.tone = kMostTone + 1;
  refuses(toned);
}

TEST(ProgramRetouch, AnswersWrongUsageAndPhotographsWithoutAFace) {
  const TestFolder folder;
  ToVips(GradientImage(64, 64)).write_to_file((folder / "a.png").c_str());
  const std::tuple<Names, int, std::string> cases[] = {{{"-o", "b.gif"}, 2, ".png"},
                                                       {{"-o", "a.png"}, 2, "would replace"},
                                                       {{"-o", "b.png", "--eyes", "40%"}, 2, "--eyes"},
                                                       {{"-o", "b.png", "--skin", "5.01"}, 2, "--skin"},
                                                       {{"-o", "b.png", "--face", "-1"}, 2, "--face"},
                                                       {{"-o", "b.png", "--beauty", "none"}, 2, "--beauty"},
                                                       {{"-o", "b.png", "--compare"}, 1, "no face"},
                                                       {{"-o", "b.png"}, 1, "no face"}};
  for (const auto& [options, status, reason] : cases) {
    EXPECT_EQ(status, StatusOfRefusal(folder, Joined({"retouch", "a.png"}, options), reason)) << reason;
  }
  EXPECT_EQ(Names{"a.png"}, folder.Names());
}

}  // namespace
}  // namespace qx::photo
