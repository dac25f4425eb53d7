#include "photo/render/retouch.h"

#include <gtest/gtest.h>

#include "photo/studio.h"
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
