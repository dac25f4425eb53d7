// Person geometry from masks made by hand.
#include "photo/place/person_geometry.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "photo/base/failure.h"

namespace qx::photo {
namespace {

// A face 40 wide and 50 high from (80, 60), its eyes at row 80, in a photograph of 200 x 150 pixels.
ProbedFace Face() {
  ProbedFace face{};
  face.corners = {{{80, 62}, {120, 62}, {80, 110}, {120, 110}}};
  face.keyPoints[0] = {90, 79};
  face.keyPoints[1] = {110, 81};
  face.landmarks.fill({100, 90});
  face.landmarks[0].x = 86;  // outer corners of the eyes
  face.landmarks[9].x = 114;
  face.landmarks[16].x = 92;  // corners of the mouth
  face.landmarks[17].x = 104;
  face.densePoints.fill({100, 90});
  face.densePoints[3] = {80, 85};
  face.densePoints[7] = {120, 85};
  face.densePoints[40] = {101, 110};
  return face;
}

void Paint(Mask* mask, const PixelBox& box, uint8_t value = 255) {
  for (int32_t y = box.top; y < box.bottom; ++y) std::fill(mask->Row(y) + box.left, mask->Row(y) + box.right, value);
}

// Head, hair and shoulders, away from all edges.
Mask Person() {
  Mask mask(200, 150, 0);
  Paint(&mask, {78, 50, 122, 112});
  Paint(&mask, {60, 112, 140, 140});
  return mask;
}

TEST(PersonGeometry, FollowsFaceAndMask) {
  const PersonGeometry person = MeasurePerson(Face(), Person());
  EXPECT_EQ(200, person.width);
  EXPECT_EQ(150, person.height);
  EXPECT_EQ(50, person.headTop);
  EXPECT_EQ(80, person.eyes);
  EXPECT_EQ(110, person.chin);
  EXPECT_EQ(99, person.centre);  // between 98 and 100
  EXPECT_EQ(80, person.faceLeft);
  EXPECT_EQ(40, person.faceWidth);
  EXPECT_EQ(140, person.foot);
  EXPECT_EQ(150, person.leftCut);
  EXPECT_EQ(150, person.rightCut);
  EXPECT_FALSE(person.topCut);
}

TEST(PersonGeometry, HairBeginsWhereItIsMoreThanAWispAndOpaque) {
  Mask mask = Person();
  Paint(&mask, {98, 20, 102, 50});  // 4 pixels: a tenth of the face
  EXPECT_EQ(50, MeasurePerson(Face(), mask).headTop);
  Paint(&mask, {98, 30, 103, 50});  // 5
  EXPECT_EQ(30, MeasurePerson(Face(), mask).headTop);
  Paint(&mask, {80, 10, 120, 30}, 64);
  EXPECT_EQ(30, MeasurePerson(Face(), mask).headTop);
  Paint(&mask, {80, 10, 120, 30}, 65);
  EXPECT_EQ(10, MeasurePerson(Face(), mask).headTop);
}

TEST(PersonGeometry, ARaisedHandIsNoHair) {
  Mask mask = Person();
  Paint(&mask, {40, 5, 60, 112});  // ends where half a face's width beside the face begins
  Paint(&mask, {141, 5, 160, 112});
  EXPECT_EQ(50, MeasurePerson(Face(), mask).headTop);
  Paint(&mask, {140, 5, 160, 112});  // one column of it: still a wisp
  EXPECT_EQ(50, MeasurePerson(Face(), mask).headTop);
  Paint(&mask, {130, 25, 160, 112});
  EXPECT_EQ(25, MeasurePerson(Face(), mask).headTop);
}

TEST(PersonGeometry, SeesWhereThePhotographCutsThePerson) {
  Mask mask = Person();
  Paint(&mask, {0, 120, 200, 150});
  Paint(&mask, {199, 97, 200, 150});
  PersonGeometry person = MeasurePerson(Face(), mask);
  EXPECT_EQ(120, person.leftCut);
  EXPECT_EQ(97, person.rightCut);
  EXPECT_EQ(150, person.foot);
  // Hair that reaches the upper edge is a cut from a quarter of the face's width on.
  Paint(&mask, {90, 0, 100, 50});
  person = MeasurePerson(Face(), mask);
  EXPECT_EQ(0, person.headTop);
  EXPECT_FALSE(person.topCut);
  Paint(&mask, {90, 0, 101, 50});
  EXPECT_TRUE(MeasurePerson(Face(), mask).topCut);
}

// The same person in a photograph turned about the middle of the eyes.
PersonGeometry Turned(const Mask& mask, double degrees) {
  MaskView view;
  view.width = mask.width;
  view.height = mask.height;
  view.whole = &mask;
  view.turn = Turn(degrees, {100, 80});
  return MeasurePerson(PlacesOf(Face(), {0, 0, 200, 150}, 1, 1, view.turn), view);
}

TEST(PersonGeometry, ATurnedPhotographCutsAlongItsEdges) {
  EXPECT_TRUE(Turned(Person(), 10).cuts.empty());
  Mask mask = Person();
  Paint(&mask, {60, 140, 140, 150});
  Paint(&mask, {0, 100, 40, 120});
  Paint(&mask, {91, 0, 100, 50});  // a wisp at the upper edge
  PersonGeometry person = Turned(mask, 10);
  ASSERT_EQ(2u, person.cuts.size());
  const PlacePoint from = person.turn({60, 150}), to = person.turn({140, 150}), side = person.turn({0, 120});
  EXPECT_NEAR(from.x, person.cuts[0].from.x, 1e-9);
  EXPECT_NEAR(from.y, person.cuts[0].from.y, 1e-9);
  EXPECT_NEAR(to.x, person.cuts[0].to.x, 1e-9);
  EXPECT_NEAR(side.y, person.cuts[1].to.y, 1e-9);
  Paint(&mask, {90, 0, 101, 50});
  EXPECT_EQ(3u, Turned(mask, 10).cuts.size());
}

TEST(PersonGeometry, FacesAtTheEdgesStayInsideTheMask) {
  ProbedFace face = Face();
  for (Point& point : face.densePoints) point.x -= 90;  // from -10 to 30
  Mask mask(200, 150, 0);
  Paint(&mask, {0, 40, 50, 150});
  const PersonGeometry person = MeasurePerson(face, mask);
  EXPECT_EQ(40, person.headTop);
  EXPECT_EQ(-10, person.faceLeft);
  EXPECT_EQ(40, person.leftCut);
  face = Face();
  face.densePoints[40].y = 170;  // a chin below the photograph
  EXPECT_EQ(170, MeasurePerson(face, Person()).chin);
}

TEST(PersonGeometry, RefusesMasksWithoutAPersonAtTheFace) {
  Mask mask(200, 150, 0);
  const auto code = [&] {
    try {
      MeasurePerson(Face(), mask);
    } catch (const Failure& failure) {
      return failure.Code();
    }
    return FailureCode::kEngine;
  };
  EXPECT_EQ(FailureCode::kNoPerson, code());
  Paint(&mask, {0, 0, 40, 150});  // somebody else
  EXPECT_EQ(FailureCode::kNoPerson, code());
  Paint(&mask, {60, 110, 140, 150});  // begins at the chin
  EXPECT_EQ(FailureCode::kNoPerson, code());
  Paint(&mask, {60, 109, 140, 150});
  EXPECT_EQ(109, MeasurePerson(Face(), mask).headTop);
}

TEST(PersonGeometry, BoxesHoldTurnedFrames) {
  ProbedFace face = Face();
  face.corners = {{{50, 10}, {90, 50}, {10, 50}, {50, 90}}};
  const FaceBox box = face.Box();
  EXPECT_EQ(10, box.left);
  EXPECT_EQ(10, box.top);
  EXPECT_EQ(90, box.right);
  EXPECT_EQ(90, box.bottom);
}

TEST(PersonGeometry, MeasuresAreFractionsOfTheRectangle) {
  PersonGeometry person;
  person.headTop = 20;
  person.crown = 30;
  person.eyes = 80;
  person.chin = 130;
  person.faceWidth = 60;
  const PhotoMeasures measures = MeasuresIn({5, 10, 120, 200}, person);
  EXPECT_DOUBLE_EQ(0.5, measures.head);
  EXPECT_DOUBLE_EQ(0.55, measures.headWithHair);
  EXPECT_DOUBLE_EQ(0.05, measures.top);
  EXPECT_DOUBLE_EQ(0.65, measures.eyes);
  EXPECT_DOUBLE_EQ(0.5, measures.faceWidth);
}

}  // namespace
}  // namespace qx::photo
