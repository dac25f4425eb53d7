// What is wanted, what stands in the way, and the words for what is missed.
#include "photo/place/placement.h"

#include <gtest/gtest.h>

#include "photo/place/fit_report.h"
#include "support/typical_person.h"

namespace qx::photo {
namespace {

// Cut off at every side.
PersonGeometry Person() {
  PersonGeometry person = test::TypicalPerson();
  person.foot = 900;
  person.leftCut = 700;
  person.rightCut = 600;
  person.topCut = true;
  return person;
}

TEST(Placement, TakesUsualGoalsWhereTheDocumentSaysNothing) {
  Document document;
  Goals goals = GoalsOf(document);
  ASSERT_TRUE(goals.head && goals.top);
  EXPECT_FALSE(goals.eyes || goals.faceWidth);
  EXPECT_GT(goals.top->min, 0);
  EXPECT_LT(goals.top->max + goals.head->min, 1);
  document.head = Fraction{0.5, 0.5};
  goals = GoalsOf(document);  // half of the rest is below, at least
  EXPECT_DOUBLE_EQ(0.125, goals.top->min);
  EXPECT_DOUBLE_EQ(0.25, goals.top->max);
  document.eyes = Fraction{0.5, 0.6};
  EXPECT_DOUBLE_EQ(1, GoalsOf(document).top->max);
  document.head.reset();
  document.faceWidth = Fraction{0.4, 0.5};
  EXPECT_FALSE(GoalsOf(document).head);  // the face's width says how large the head is
}

TEST(Placement, NarrowsBoundsOnBothSidesButNotByMuch) {
  Goals goals;
  goals.head = Fraction{0.6, 0.7};
  goals.eyes = Fraction{0.1, 0.9};
  const Goals narrowed = Narrowed(goals, 0.2);
  EXPECT_DOUBLE_EQ(0.62, narrowed.head->min);
  EXPECT_DOUBLE_EQ(0.68, narrowed.head->max);
  EXPECT_DOUBLE_EQ(0.15, narrowed.eyes->min);  // at most 5 %
  EXPECT_DOUBLE_EQ(0.85, narrowed.eyes->max);
  EXPECT_FALSE(narrowed.top);
}

TEST(Placement, CountsAsMissedOnlyWhatIsOutsideByMoreThanATrifle) {
  Goals goals;
  goals.head = Fraction{0.6, 0.7};
  goals.faceWidth = Fraction{0.4, 0.5};
  PhotoMeasures measures;
  measures.head = 0.5995;
  measures.faceWidth = 0.5005;
  measures.top = -3;
  EXPECT_TRUE(MissesOf(measures, goals).empty());
  measures.head = 0.598;
  measures.faceWidth = 0.502;
  const std::vector<Miss> misses = MissesOf(measures, goals);
  ASSERT_EQ(2u, misses.size());
  EXPECT_EQ(Miss::Bound::kHead, misses[0].bound);
  EXPECT_EQ(0.598, misses[0].value);
  EXPECT_EQ(Miss::Bound::kFaceWidth, misses[1].bound);
}

TEST(Placement, ObstaclesEachStandInTheWay) {
  const PersonGeometry person = Person();
  Obstacles none;
  none.foot = none.sides = none.top = none.keep = false;
  const auto only = [&none](bool Obstacles::*obstacle) {
    Obstacles one = none;
    one.*obstacle = true;
    return one;
  };
  const Rectangle inside{200, 200, 400, 500}, deep{200, 200, 400, 701}, left{-1, 200, 400, 501},
      right{500, 200, 301, 401}, above{200, -1, 400, 500};
  EXPECT_TRUE(IsClear(inside, person, Obstacles()));
  EXPECT_FALSE(IsClear({400, 200, 167, 500}, person, none));  // a face is wider than this
  EXPECT_TRUE(IsClear({400, 200, 168, 500}, person, none));

  EXPECT_FALSE(IsClear(deep, person, only(&Obstacles::foot)));
  EXPECT_TRUE(IsClear({200, 200, 400, 700}, person, only(&Obstacles::foot)));
  // A side may be left above the row in which it cuts the person off.
  EXPECT_FALSE(IsClear(left, person, only(&Obstacles::sides)));
  EXPECT_TRUE(IsClear({-1, 200, 400, 500}, person, only(&Obstacles::sides)));
  EXPECT_FALSE(IsClear(right, person, only(&Obstacles::sides)));
  EXPECT_TRUE(IsClear({500, 200, 301, 400}, person, only(&Obstacles::sides)));
  EXPECT_FALSE(IsClear(above, person, only(&Obstacles::top)));
  PersonGeometry whole = person;
  whole.topCut = false;
  EXPECT_TRUE(IsClear(above, whole, only(&Obstacles::top)));
  for (const Rectangle& outside :
       {above, Rectangle{-1, 200, 400, 400}, Rectangle{500, 200, 301, 300}, Rectangle{200, 200, 400, 801}}) {
    EXPECT_FALSE(IsClear(outside, whole, only(&Obstacles::keep)));
  }
  for (const Rectangle& any : {deep, left, right, above}) EXPECT_TRUE(IsClear(any, person, none));
}

TEST(Placement, FindsNothingWhereTheHeadDoesNotFit) {
  PersonGeometry person = Person();
  person.foot = 450;  // above the chin
  EXPECT_FALSE(FindNearest(person, GoalsOf(Document()), 0.75, Obstacles()));
  person = Person();
  person.topCut = false;
  const auto nearest = FindNearest(person, GoalsOf(Document()), 0.75, Obstacles());
  ASSERT_TRUE(nearest);
  EXPECT_TRUE(MissesOf(MeasuresIn(*nearest, person), GoalsOf(Document())).empty());
}

TEST(FitReport, SaysInNumbersWhatIsMissed) {
  Document document;
  document.width = 413;
  document.height = 531;
  document.widthMm = 35;
  document.heightMm = 45;
  EXPECT_EQ("head to the crown 58 % of the height, wanted 70 to 80 (31.5 to 36 mm)",
            MissText({Miss::Bound::kHead, 0.58, {0.7, 0.8}}, document));
  // A decimal where whole percents would look like the bound.
  EXPECT_EQ("eyes 69.6 % of the height above the lower edge, wanted 70 to 80 (31.5 to 36 mm)",
            MissText({Miss::Bound::kEyes, 0.696, {0.7, 0.8}}, document));
  EXPECT_EQ("face 70 % of the width, wanted 40 to 62.9 (14 to 22 mm): step back",
            MissAdvice({Miss::Bound::kFaceWidth, 0.7, {0.4, 22.0 / 35}}, document));
  EXPECT_EQ("head to the crown 58 % of the height, wanted 70 to 80 (31.5 to 36 mm): move closer",
            MissAdvice({Miss::Bound::kHead, 0.58, {0.7, 0.8}}, document));
}

TEST(FitReport, CarriesTheNumbersForPrograms) {
  PersonGeometry person = Person();
  Document document;
  document.width = document.height = 600;
  document.widthMm = document.heightMm = 50;
  document.head = Fraction{0.9, 0.95};
  document.eyes = Fraction{0.1, 0.2};
  const Goals goals = GoalsOf(document);
  const auto nearest = FindNearest(person, goals, 1, Obstacles());
  ASSERT_TRUE(nearest);
  const Failure failure = NoFit(person, document, goals, Obstacles(), nearest);
  EXPECT_EQ(FailureCode::kNoFit, failure.Code());
  size_t bounds = 0;
  for (const FailureField& field : failure.Fields()) bounds += field.name == "bound" && field.word == "eyes";
  EXPECT_EQ(1u, bounds);
  EXPECT_EQ(std::string::npos, std::string(failure.what()).find("--"));
  EXPECT_TRUE(NoFit(person, document, goals, Obstacles(), std::nullopt).Fields().empty());
}

TEST(Placement, ATurnedPhotographsCutsStayOutside) {
  PersonGeometry person = Person();
  person.turn = Turn(10, {400, 400});
  person.foot = 1000;
  person.cuts = {{{200, 800}, {600, 700}}};
  const auto clear = [&](double top, double size) {
    return IsClear({400 - size / 2, top, size, size}, person, Obstacles());
  };
  EXPECT_TRUE(clear(200, 400));  // ends above it
  EXPECT_TRUE(clear(300, 400));  // its lower right corner touches it
  EXPECT_FALSE(clear(302, 400));
  EXPECT_FALSE(clear(700, 280));  // between its ends, which lie outside
  EXPECT_TRUE(clear(810, 180));   // below it
  Obstacles open;
  open.sides = false;
  EXPECT_TRUE(IsClear({200, 302, 400, 400}, person, open));
  person.cuts = {{{300, 0}, {300, 900}}};  // upright
  EXPECT_FALSE(clear(200, 400));
  EXPECT_TRUE(clear(200, 200));  // along its side
}

}  // namespace
}  // namespace qx::photo
