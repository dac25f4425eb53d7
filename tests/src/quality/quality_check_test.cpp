// The four scores on painted crops.
#include "quality/quality_check.h"

#include <gtest/gtest.h>

#include <cstring>

namespace qx::test {
namespace {

// 400 x 500, eyes level at row 200 and 40 apart around column 200, mouth 40 below.
FaceRecord PaintedFace(uint8_t value) {
  FaceRecord face;
  face.cropWidth = 400;
  face.cropHeight = 500;
  face.cropImage.Allocate(400 * 500 * 3);
  face.cropMask.AllocateZeroed(400 * 500);
  std::memset(face.cropImage.data(), value, 400 * 500 * 3);
  Point* l = face.crop.landmarks;
  l[kLeftEyeOuterCorner] = {180, 200};
  l[kLeftEyeInnerCorner] = {190, 200};
  l[kRightEyeInnerCorner] = {210, 200};
  l[kRightEyeOuterCorner] = {220, 200};
  l[kMouthLeftEnd] = {190, 240};
  l[kMouthRightEnd] = {210, 240};
  return face;
}

void Fill(FaceRecord* face, int x0, int y0, int x1, int y1, uint8_t value) {
  for (int y = y0; y < y1; ++y) {
    std::memset(face->cropImage.data() + (y * face->cropWidth + x0) * 3, value, static_cast<size_t>(x1 - x0) * 3);
  }
}

TEST(Quality, TiltFollowsTheSine) {
  FaceRecord face = PaintedFace(100);
  EXPECT_EQ(CheckQuality(face).tilt, 100);
  Point* l = face.crop.landmarks;
  const std::pair<Point, int> cases[] = {{{124, 107}, 6},   // sine 7/25: 100 - 93.33
                                         {{124, 93}, 6},    // the other way
                                         {{103, 104}, 0},   // sine 0.8
                                         {{100, 100}, 0}};  // no line at all
  for (const auto& [q, score] : cases) {
    l[kLeftEyeOuterCorner] = l[kLeftEyeInnerCorner] = {100, 100};
    l[kRightEyeInnerCorner] = l[kRightEyeOuterCorner] = q;
    EXPECT_EQ(CheckQuality(face).tilt, score) << q.x << "," << q.y;
  }
}

TEST(Quality, BrightnessIsTheMeanGreyOfTheFaceRectangle) {
  // The rectangle: columns 180 to 220, rows 200 to 240, both inclusive.
  for (const auto& [grey, score] : {std::pair(6, 0), std::pair(66, 50), std::pair(126, 100), std::pair(250, 100)}) {
    FaceRecord face = PaintedFace(255);
    Fill(&face, 180, 200, 221, 241, static_cast<uint8_t>(grey));
    EXPECT_EQ(CheckQuality(face).brightness, score) << grey;
  }
  FaceRecord face = PaintedFace(0);
  Fill(&face, 180, 200, 221, 200 + 10, 205);  // 10 of 41 rows: mean 50, (500 - 60) / 12
  EXPECT_EQ(CheckQuality(face).brightness, 36);
}

TEST(Quality, SymmetryComparesMirroredHalves) {
  FaceRecord face = PaintedFace(50);
  EXPECT_EQ(CheckQuality(face).symmetry, 100);
  // Radius 28: columns 172 to 200 are compared with 228 to 200. A step of 7 on all but the axis: 28 / 29 * 7 * 10 / 14.
  Fill(&face, 201, 0, 400, 500, 57);
  EXPECT_EQ(CheckQuality(face).symmetry, 95);
  Fill(&face, 201, 0, 400, 500, 250);
  EXPECT_EQ(CheckQuality(face).symmetry, 0);
}

TEST(Quality, BackgroundPatchesLieWhereTheyShould) {
  // Beside: rows 88 to 335, columns 112 to 139 and 260 to 287; below: rows 280 to 355, columns 140 to 259.
  FaceRecord face = PaintedFace(0);
  Fill(&face, 112, 88, 140, 336, 255);
  Fill(&face, 260, 88, 288, 336, 255);
  Fill(&face, 140, 280, 260, 356, 175);
  EXPECT_EQ(CheckQuality(face).background, 50 + 40);
  Fill(&face, 112, 335, 140, 336, 0);  // one row of one patch: spread 441.67 * 2 * p * (1 - p) with p = 1 / 496
  EXPECT_EQ(CheckQuality(face).background, 49 + 40) << "99.x of 100, halved and truncated with the contrast";
}

TEST(Quality, FacesOverTheEdgeReadOnlyTheCrop) {
  for (const int32_t dx : {-1000, -215, -30, 180, 1000, 2000000000}) {
    for (const int32_t dy : {-2000000000, -300, -190, 250, 5000}) {
      FaceRecord face = PaintedFace(90);
      for (Point& p : face.crop.landmarks) {
        p = {WrapAdd(p.x, dx), WrapAdd(p.y, dy)};
      }
      const QualityScores scores = CheckQuality(face);
      for (const int32_t s : {scores.tilt, scores.brightness, scores.symmetry, scores.background}) {
        EXPECT_GE(s, 0);
        EXPECT_LE(s, 100);
      }
    }
  }
  FaceRecord empty;
  empty.cropImage.Allocate(0);
  empty.cropMask.Allocate(0);
  EXPECT_EQ(CheckQuality(empty).brightness, 0);
}

}  // namespace
}  // namespace qx::test
