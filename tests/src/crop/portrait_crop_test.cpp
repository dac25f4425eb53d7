// Geometry and pixels of the single-portrait crop.
#include <gtest/gtest.h>

#include <cstring>

#include "api/result.h"
#include "src/crop_fixture.h"

namespace qx::test {
namespace {

class PortraitCrop : public CropTest {
 protected:
  const FaceRecord& Run(const Photo& photo, const ScriptedFace& face) {
    EXPECT_EQ(CropTest::Run(photo, {face}), IDP_OK);
    return *result->Face(0);
  }
  Crop Read() { return ReadCrop(result.get(), 0); }
};

TEST_F(PortraitCrop, ALevelFaceAtScaleOneIsACopyOfSourcePixels) {
  // 480 x 610 with the face's centre at (240, 278): the frame starts at (300 - 240, 200 - 278). Grey is copied thrice.
  for (const int32_t channels : {1, 3}) {
    const Photo photo(500, 500, channels);
    const FaceRecord& face = Run(photo, LevelFace(300, 200, 100));
    EXPECT_EQ(face.originX, 60);
    EXPECT_EQ(face.originY, -78);
    EXPECT_EQ(face.offsetX, 240);
    EXPECT_EQ(face.offsetY, 278);
    const Crop crop = Read();
    ASSERT_EQ(std::pair(crop.width, crop.height), std::pair(480, 610));
    ExpectCropped(photo, crop, 1, [](int32_t j, int32_t i) { return Place{j + 60.0, i - 78.0}; });
    EXPECT_EQ(face.crop.landmarks[kLeftEyeOuterCorner].x, 190);
    EXPECT_EQ(face.crop.landmarks[kLeftEyeOuterCorner].y, 228);
    EXPECT_EQ(face.crop.attributes[87].x, face.source.attributes[87].x - 60);
    EXPECT_EQ(face.crop.faceBox[3].y, face.source.faceBox[3].y + 78);
  }
}

TEST_F(PortraitCrop, FourQuarterTurnsGiveTheSameCrop) {
  Photo photo(520, 430);
  ScriptedFace face = LevelFace(250, 200, 100);
  Run(photo, face);
  const Crop upright = Read();
  const FacePoints points = result->Face(0)->crop;
  const std::pair<double, double> turns[] = {{0, -1}, {-1, 0}, {0, 1}, {1, 0}};
  for (const auto& turn : turns) {
    face = TurnClockwise(face, photo.height);
    photo = photo.TurnedClockwise();
    const FaceRecord& record = Run(photo, face);
    EXPECT_EQ(std::pair(record.rotCos, record.rotSin), turn);
    const Crop crop = Read();
    EXPECT_EQ(crop.image, upright.image);
    EXPECT_EQ(crop.mask, upright.mask);
    if (record.rotSin == 0) {
      EXPECT_EQ(std::memcmp(record.crop.landmarks, points.landmarks, sizeof points.landmarks), 0);
      EXPECT_EQ(std::memcmp(record.crop.attributes, points.attributes, sizeof points.attributes), 0);
    } else if (record.rotSin < 0) {
      // The offsets are distances along the source's axes, 278 and 240, also where the crop's axes are swapped:
      // the eye corner at (50, -50) from the centre comes to (50 + 278, 50 + 240).
      EXPECT_EQ(std::pair(record.crop.landmarks[kLeftEyeOuterCorner].x, record.crop.landmarks[kLeftEyeOuterCorner].y),
                std::pair(328, 290));
    }
  }
}

TEST_F(PortraitCrop, TheWidthBoundScalesDown) {
  const FaceRecord& face = Run(Photo(900, 900), LevelFace(450, 450, 200));
  EXPECT_EQ(face.cropWidth, 800);
  EXPECT_EQ(face.cropHeight, 1017);
  EXPECT_EQ(face.originX, 450 - 480);
  EXPECT_EQ(face.originY, 450 - 556);
  EXPECT_EQ(face.offsetX, 480 / 1.2);
  EXPECT_EQ(face.offsetY, 556 / 1.2);
  // 100 source pixels left of the centre: 400 - 83.33 + 0.5, truncated.
  EXPECT_EQ(face.crop.landmarks[kLeftEyeOuterCorner].x, 317);
  EXPECT_EQ(face.crop.landmarks[kLeftEyeOuterCorner].y, 380);
}

TEST_F(PortraitCrop, ScaledPixelsAreBilinearRoundedHalfUp) {
  // 1,000 / 800 = 1.25: crop pixel (1, 1) lies at a quarter between source pixels on both axes.
  QX_IDP_SetRCLRRatio(handle.get(), 0.8333333333333333);
  Photo photo(1300, 1700);
  const FaceRecord& face = Run(photo, LevelFace(650, 800, 200));
  ASSERT_EQ(face.cropWidth, 800);
  ASSERT_EQ(face.naturalWidth, 0) << "the two-face crop's field";
  const Crop crop = Read();
  ExpectCropped(photo, crop, 1, [&face](int32_t j, int32_t i) {
    return Place{face.originX + j * 1.25, face.originY + i * 1.25};
  });
}

TEST_F(PortraitCrop, CoincidingEyesGiveAnEmptyCrop) {
  Run(Photo(50, 50), LevelFace(25, 25, 0));
  const Crop crop = Read();
  EXPECT_EQ(std::pair(crop.width, crop.height), std::pair(0, 0));
}

TEST_F(PortraitCrop, ACropOfOverTwoGigabytesIsLeftWithoutImages) {
  QX_IDP_SetSrcSame(handle.get(), 1);
  ScriptedFace face = LevelFace(25, 25, 10);
  face.landmarks[kRightEyeOuterCorner].x = 40020;  // 40,000 from the other eye
  const FaceRecord& record = Run(Photo(50, 50), face);
  uint8_t byte = 0;
  EXPECT_EQ(std::pair(record.cropWidth, record.cropHeight), std::pair(192000, 244000));
  EXPECT_EQ(QX_IDP_GetRCImage(result.get(), 0, &byte, &byte), IDP_ERR_PARAM);
}

TEST_F(PortraitCrop, PointsAnywhereNeitherOverflowNorCrash) {
  for (const int32_t far : {46341, 1000000000, 2147483647, -2147483647}) {
    ScriptedFace face = LevelFace(25, 25, 10);
    face.landmarks[kRightEyeOuterCorner] = {far, -far};
    face.landmarks[kMouthLeftEnd] = {far, far};
    face.keyPoints[kRightEyeCentre] = {far, -far};
    Run(Photo(50, 50), face);
  }
}

}  // namespace
}  // namespace qx::test
