// The parts of `make` that need no photograph of a person.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "photo/base/resize.h"
#include "photo/face/upright.h"
#include "photo/place/fit_report.h"
#include "photo/place/pair_placement.h"
#include "photo/place/placement.h"
#include "photo/render/render.h"
#include "photo/studio.h"
#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;

TEST(ResizeLanczos, KeepsWhatItShould) {
  const Image gradient = GradientImage(60, 40);
  EXPECT_EQ(gradient.bgr, ResizeLanczos(gradient, {0, 0, 60, 40}, 60, 40).bgr);  // the identity
  const Image flat{30, 20, Bytes(1800, 77)};
  for (const auto& [w, h] : {std::pair(7, 5), std::pair(30, 20), std::pair(91, 64)}) {
    const Image sized = ResizeLanczos(flat, {-3.5, 2.25, 40, 11}, w, h);
    EXPECT_EQ(Bytes(static_cast<size_t>(w * h) * 3, 77), sized.bgr);
  }
  // A ramp stays the same ramp at another scale: the value follows from the place of the pixel's middle.
  Image ramp{200, 8, {}};
  for (int i = 0; i < 200 * 8; ++i) ramp.bgr.insert(ramp.bgr.end(), 3, static_cast<uint8_t>(i % 200));
  for (const int width : {25, 60, 150, 300}) {
    const Image sized = ResizeLanczos(ramp, {40, 0, 100, 8}, width, 8);
    for (int x = 0; x < width; ++x) {
      EXPECT_NEAR(40 + (x + 0.5) * 100 / width - 0.5, sized.bgr[static_cast<size_t>(3 * x)], 0.51) << width << " " << x;
    }
  }
}

// The sum over all pixels, the border pixels repeated, weighted by the kernel in both directions.
double PlainLanczos(const Image& picture, double x, double y, double scaleX, double scaleY, int channel) {
  auto weight = [](double distance, double scale) {
    const double pi = std::acos(-1.0), at = std::abs(distance) / std::max(scale, 1.0);
    if (at >= 3) return 0.0;
    return at == 0 ? 1.0 : std::sin(pi * at) / (pi * at) * std::sin(pi * at / 3) / (pi * at / 3);
  };
  double sum = 0, weights = 0;
  for (int v = -80; v < 80 + picture.height; ++v) {
    const double down = weight(v + 0.5 - y, scaleY);
    if (down == 0) continue;
    for (int u = -80; u < 80 + picture.width; ++u) {
      const double share = down * weight(u + 0.5 - x, scaleX);
      sum += share * picture.At(std::clamp(u, 0, picture.width - 1), std::clamp(v, 0, picture.height - 1))[channel];
      weights += share;
    }
  }
  return std::clamp(sum / weights, 0.0, 255.0);
}

TEST(ResizeLanczos, IsThePlainSum) {
  for (const auto& [width, height] : {std::pair{31, 23}, {1, 1}, {2, 40}}) {
    Image picture(width, height);
    uint32_t random = 1;
    for (uint8_t& sample : picture.bgr) sample = static_cast<uint8_t>((random = random * 1664525u + 1013904223u) >> 24);
    const Rectangle parts[] = {{0, 0, double{1} * width, double{1} * height},
                               {-20.5, 3.25, 60, 9},
                               {1.5, -30, 7, 20},
                               {-60, 3, 20, 9},
                               {55.5, 60, 7, 9}};
    for (const Rectangle& part : parts) {
      for (const auto& [across, down] : {std::pair{11, 9}, {5, 33}, {70, 2}}) {
        const Image sized = ResizeLanczos(picture, part, across, down);
        const double scaleX = part.width / across, scaleY = part.height / down;
        for (int i = 0; i < across * down * 3; ++i) {
          const int x = i / 3 % across, y = i / 3 / across;
          const double plain = PlainLanczos(picture, part.left + (x + 0.5) * scaleX, part.top + (y + 0.5) * scaleY,
                                            scaleX, scaleY, i % 3);
          ASSERT_NEAR(plain, sized.bgr[static_cast<size_t>(i)], 0.501) << part.left << " " << x << " " << y;
        }
      }
    }
  }
}

TEST(Upright, TurnsExactly) {
  const Image image = GradientImage(5, 3);
  for (const int turns : {0, 1, 2, 3}) {
    const vips::VImage turned = ToVips(image).rot(static_cast<VipsAngle>(VIPS_ANGLE_D0 + turns));
    EXPECT_EQ(Reread(turned).bgr, TurnClockwise(image, turns).bgr) << turns;
  }
}

// A head of 200 pixels in the middle of a photograph of 800 x 1000 pixels, shown down to the lower edge.
PersonGeometry TypicalPerson() {
  PersonGeometry person;
  person.width = 800;
  person.height = 1000;
  person.headTop = 300;
  person.eyes = 400;
  person.chin = 500;
  person.centre = 400;
  person.faceLeft = 330;
  person.faceWidth = 140;
  person.foot = 1000;
  person.leftCut = person.rightCut = 1000;
  return person;
}

struct Attempt {
  Document document;
  Goals goals;
  std::optional<Rectangle> nearest;
  std::vector<Miss> misses;
  std::string text;
};

Attempt Try(const char* preset, const PersonGeometry& person, bool keep = false) {
  Attempt attempt;
  attempt.document = Derive(FindPreset(preset));
  attempt.goals = GoalsOf(attempt.document);
  Obstacles obstacles;
  obstacles.keep = keep;
  const double proportions = 1.0 * attempt.document.width / attempt.document.height;
  attempt.nearest = FindNearest(person, attempt.goals, proportions, obstacles);
  if (attempt.nearest) {
    EXPECT_TRUE(IsClear(*attempt.nearest, person, obstacles));
    EXPECT_NEAR(proportions, attempt.nearest->width / attempt.nearest->height, 1e-9);
    EXPECT_NEAR(person.centre, attempt.nearest->left + attempt.nearest->width / 2, 1e-9);
    attempt.misses = MissesOf(MeasuresIn(*attempt.nearest, person), attempt.goals);
  }
  attempt.text = NoFit(person, attempt.document, attempt.goals, obstacles, attempt.nearest).what();
  return attempt;
}

TEST(Placement, MeetsTheBoundsInTheirMiddle) {
  for (const char* preset : {"schengen-visa", "cn-visa", "jp-passport", "one-inch", "ca-passport", "nl-passport"}) {
    const Attempt attempt = Try(preset, TypicalPerson());
    ASSERT_TRUE(attempt.nearest) << preset;
    EXPECT_TRUE(attempt.misses.empty()) << preset;
    const PhotoMeasures measures = MeasuresIn(*attempt.nearest, TypicalPerson());
    if (attempt.goals.head) {
      EXPECT_NEAR((attempt.goals.head->min + attempt.goals.head->max) / 2, measures.head, 0.02) << preset;
    }
    EXPECT_LT(0, measures.top);
  }
}

TEST(Placement, SaysWhatFailsAndByHowMuch) {
  PersonGeometry person = TypicalPerson();
  person.foot = 520;  // the photograph ends at the chin
  Attempt attempt = Try("cn-visa", person);
  ASSERT_FALSE(attempt.misses.empty());
  EXPECT_TRUE(Contains(attempt.text, "the photograph ends too close below the chin")) << attempt.text;
  EXPECT_TRUE(Contains(attempt.text, "wanted 6.2 to 10.4 (3 to 5 mm)")) << attempt.text;
  EXPECT_LE(attempt.nearest->Bottom(), 520.001);

  person = TypicalPerson();
  person.leftCut = 450;  // a close-up: the shoulder leaves the photograph above the chin
  person.centre = 120;
  attempt = Try("us-passport", person);
  EXPECT_TRUE(Contains(attempt.text, "cut off at the photograph's left edge")) << attempt.text;
  EXPECT_TRUE(Contains(attempt.text, "step back")) << attempt.text;
  EXPECT_GE(attempt.nearest->left, -0.001);

  person = TypicalPerson();
  person.headTop = 0;
  person.eyes = 100;
  person.chin = 200;
  EXPECT_TRUE(Try("schengen-visa", person).misses.empty());  // room above is filled with background
  person.topCut = true;
  attempt = Try("schengen-visa", person);
  EXPECT_TRUE(Contains(attempt.text, "hair is cut off")) << attempt.text;
  EXPECT_TRUE(Contains(attempt.text, "space above the head 0 % of the height, wanted 6.1 to 12.2")) << attempt.text;
  person.topCut = false;
  attempt = Try("schengen-visa", person, true);
  EXPECT_TRUE(Contains(attempt.text, "the background that is kept ends with the photograph")) << attempt.text;

  person = TypicalPerson();
  person.headTop = 180;  // tall hair: the eyes cannot be as high as wanted above such a head
  Document document = Derive(FindPreset("us-passport"));
  document.head = Fraction{0.9, 0.95};
  const Goals goals = GoalsOf(document);
  const auto nearest = FindNearest(person, goals, 1, Obstacles());
  const std::string text = NoFit(person, document, goals, Obstacles(), nearest).what();
  EXPECT_TRUE(Contains(text, "exclude each other")) << text;
}

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

// Two faces 100 wide, 40 apart: by hand, the narrowest rectangle is 1.4 * 240 = 336 wide and 224 high at 3:2. Its heads
// are 150 high, so 74 remain; at least 50 below, at least 30 above: too little by 6, so it grows to 240 high.
TEST(Pair, FindsTheNarrowestRectangle) {
  const PersonGeometry person = TypicalPerson();
  PairGeometry pair;
  pair.left = 280;
  pair.right = 520;
  pair.faceWidth = 100;
  pair.headTop = 300;
  pair.chin = 450;
  pair.foot = 1000;
  pair.leftEdge = 100;
  pair.rightEdge = 700;
  PairPlacement placement = PlacePair(pair, {person, person}, 1.5, Obstacles(), false);
  ASSERT_TRUE(placement.rectangle);
  EXPECT_NEAR(230, placement.rectangle->height, 1.4);
  EXPECT_NEAR(345, placement.rectangle->width, 2);
  EXPECT_NEAR(400, placement.rectangle->left + placement.rectangle->width / 2, 1e-9);
  EXPECT_NEAR(270, placement.rectangle->top, 1e-9);  // 0.3 face widths above the hair
  EXPECT_EQ("", placement.problem);

  pair.left = 50;  // far apart: 700 x 467 would leave more than 200 above and below
  pair.right = 550;
  pair.rightEdge = 801;
  pair.leftEdge = 0;
  placement = PlacePair(pair, {person, person}, 1.5, Obstacles(), false);
  EXPECT_FALSE(placement.rectangle);
  EXPECT_TRUE(Contains(placement.problem, "too far apart")) << placement.problem;
  placement = PlacePair(pair, {person, person}, 1.5, Obstacles(), true);
  ASSERT_TRUE(placement.rectangle);
  EXPECT_NEAR(700, placement.rectangle->width, 1e-9);
  EXPECT_LT(placement.rectangle->top, 300 - 80);
  EXPECT_GT(placement.rectangle->Bottom(), 450 + 120);
}

}  // namespace
}  // namespace qx::photo
