// What is laid behind a person: outside the photograph, and by the authority's rules.
#include <gtest/gtest.h>

#include <array>

#include "photo/document/presets.h"
#include "photo/render/render.h"
#include "photo/studio.h"
#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;

TEST(Render, PutsBackgroundAroundAndNeverAfterThePhotographsEnd) {
  // A person in red that fills the lower half of a blue photograph and is cut at its foot.
  Image photograph{40, 40, {}};
  Mask mask(40, 40);
  for (int i = 0; i < 1600; ++i) {
    const bool person = i >= 800 && i % 40 >= 10 && i % 40 < 30;
    const uint8_t blue = person ? 0 : 255, red = person ? 255 : 0;
    photograph.bgr.insert(photograph.bgr.end(), {blue, 0, red});
    mask.values[static_cast<size_t>(i)] = person ? 255 : 0;
  }
  Document document;
  document.width = document.height = 25;
  const Rectangle rectangle{-5, -10, 50, 50};  // beyond three sides, down to the foot
  const PhotographPart part{photograph, {0, 0, 40, 40}, 40, 40};
  const Image made = RenderPhoto(part, mask, ParseBackground("white"), Turn(), rectangle, document);
  auto pixel = [&made](int x, int y) {
    const uint8_t* p = &made.bgr[static_cast<size_t>(3 * (y * made.width + x))];
    return std::array<int, 3>{p[0], p[1], p[2]};
  };
  EXPECT_EQ((std::array<int, 3>{255, 255, 255}), pixel(0, 0));
  EXPECT_EQ((std::array<int, 3>{255, 255, 255}), pixel(0, 24));
  EXPECT_EQ((std::array<int, 3>{255, 255, 255}), pixel(24, 12));
  EXPECT_EQ((std::array<int, 3>{0, 0, 255}), pixel(12, 24));  // no white line under the person
  const Image kept = RenderPhoto(part, mask, ParseBackground("keep"), Turn(), {0, 0, 40, 40}, document);
  EXPECT_EQ(255, kept.bgr[0]);
}

TEST(Background, FollowsTheAuthoritysPolicy) {
  const Preset& strict = FindPreset("sg-passport");
  EXPECT_EQ("keep", ChooseBackground(strict, std::nullopt, false));
  EXPECT_EQ("keep", ChooseBackground(strict, "keep", false));
  EXPECT_TRUE(Contains(FailureOf([&] { ChooseBackground(strict, "white", false); }), "whose background was changed"));
  EXPECT_EQ("white", ChooseBackground(strict, std::nullopt, true));
  const Preset& free = FindPreset("cn-marriage-certificate");
  EXPECT_EQ("#d9001b", ChooseBackground(free, std::nullopt, false));
  EXPECT_EQ("white", ChooseBackground(free, "white", false));
  EXPECT_EQ("white", ChooseBackground(Preset(), std::nullopt, false));
}

}  // namespace
}  // namespace qx::photo
