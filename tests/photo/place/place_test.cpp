// Where the rectangle goes, and why none fits.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "photo/place/fit_report.h"
#include "photo/place/pair_placement.h"
#include "photo/place/placement.h"
#include "photo/studio.h"
#include "support/test_files.h"
#include "support/typical_person.h"

namespace qx::photo {
namespace {

using namespace qx::test;

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
  person.headTop = person.crown = 0;
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
  person.headTop = person.crown = 180;  // tall hair: the eyes cannot be as high as wanted above such a head
  Document document = Derive(FindPreset("us-passport"));
  document.head = Fraction{0.9, 0.95};
  const Goals goals = GoalsOf(document);
  const auto nearest = FindNearest(person, goals, 1, Obstacles());
  const std::string text = NoFit(person, document, goals, Obstacles(), nearest).what();
  EXPECT_TRUE(Contains(text, "exclude each other")) << text;
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
