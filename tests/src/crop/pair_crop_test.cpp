// The common crop of two faces.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "api/result.h"
#include "src/crop_fixture.h"

namespace qx::test {
namespace {

class PairCropTest : public CropTest {
 protected:
  int32_t Run(const Photo& photo, std::vector<ScriptedFace> faces) {
    return CropTest::Run(photo, std::move(faces), IDP_CROP_PAIR);
  }
};

TEST_F(PairCropTest, LaysTwoLevelFacesOut) {
  // Natural size 480 + 1 by trunc(481 * 6.1 / 4.8 + 0.5); face 1 lies 500 to the right and 40 down. Given right to
  // left.
  const Photo photo(1100, 700);
  ASSERT_EQ(Run(photo, {LevelFace(800, 340, 100), LevelFace(300, 300, 100)}), IDP_OK);
  const PairCrop& pair = *result->pairCrop;
  const FaceRecord& f0 = *result->Face(0);
  EXPECT_EQ(f0.centreX, 300) << "the left face comes first";
  EXPECT_EQ(std::pair(f0.naturalWidth, f0.naturalHeight), std::pair(481, 611));
  EXPECT_EQ(pair.scale, 1);
  EXPECT_EQ(pair.refX, 240.5);
  EXPECT_EQ(pair.refY, 611 * 2.78 / 6.1);
  EXPECT_EQ(pair.ref1X, 740.5);
  EXPECT_EQ(pair.boxes[1].left, 500);
  EXPECT_EQ(pair.boxes[1].top, 40);
  EXPECT_EQ(pair.boxes[1].right, 981);
  const Crop crop = ReadCrop(result.get(), 1);
  ASSERT_EQ(std::pair(crop.width, crop.height), std::pair(981, 651));
  ExpectCropped(photo, crop, 7, [&pair](int32_t j, int32_t i) {
    return Place{(j - pair.refX) * 1.0 + 300, (i - pair.refY) * 1.0 + 300};
  });
  for (int k = 0; k < 2; ++k) {
    const FaceRecord& face = *result->Face(k);
    for (int32_t r = 0; r < face.cropHeight; ++r) {
      const auto from = static_cast<size_t>((pair.boxes[k].top + r) * crop.width + pair.boxes[k].left);
      const auto to = static_cast<size_t>(r * face.cropWidth);
      ASSERT_EQ(std::memcmp(&face.cropImage[to * 3], &crop.image[from * 3], 481 * 3), 0) << k << "," << r;
      ASSERT_EQ(std::memcmp(&face.cropMask[to], &crop.mask[from], 481), 0) << k << "," << r;
    }
  }
  // 50 left of the centre, 50 above: 190.5 + 0.5 and 228.46 + 0.5, truncated. The box is not mapped.
  EXPECT_EQ(std::pair(f0.crop.landmarks[kLeftEyeOuterCorner].x, f0.crop.landmarks[kLeftEyeOuterCorner].y),
            std::pair(191, 228));
  EXPECT_EQ(std::pair(f0.crop.faceBox[3].x, f0.crop.faceBox[3].y), std::pair(0, 0));
  EXPECT_EQ(f0.originX, 0);
}

TEST_F(PairCropTest, TheSmallerScaleServesBoth) {
  // 960 + 1 and 480 + 1 wide: scales 961 / 800 and 1, so nothing is scaled down.
  ASSERT_EQ(Run(Photo(1500, 1300), {LevelFace(400, 500, 200), LevelFace(1200, 500, 100)}), IDP_OK);
  EXPECT_EQ(result->pairCrop->scale, 1);
  EXPECT_EQ(result->Face(0)->cropWidth, 961);
  // Both too wide: 961 / 800 and 1,201 / 800; the unscaled height places the centre.
  ASSERT_EQ(Run(Photo(1500, 1300), {LevelFace(400, 500, 200), LevelFace(1200, 500, 250)}), IDP_OK);
  const double scale = 961.0 / 800;
  EXPECT_EQ(result->pairCrop->scale, scale);
  EXPECT_EQ(result->Face(0)->cropWidth, 800);
  EXPECT_EQ(result->Face(1)->cropWidth, static_cast<int>(1201 / scale + 0.5));
  EXPECT_EQ(result->Face(0)->naturalHeight, 1221);
  EXPECT_EQ(result->pairCrop->refY + std::min(0, -result->pairCrop->boxes[0].top), 1221 * 2.78 / 6.1);
}

TEST_F(PairCropTest, TurnedPairsStandUprightAndMixedOnesFail) {
  Photo photo(1100, 700);
  ScriptedFace left = LevelFace(300, 300, 100), right = LevelFace(800, 340, 100);
  // The sine has the sign of the eye line's angle, opposite to a single portrait's.
  const std::pair<double, double> turns[] = {{0, 1}, {-1, 0}, {0, -1}};
  for (const auto& [c, s] : turns) {
    left = TurnClockwise(left, photo.height);
    right = TurnClockwise(right, photo.height);
    photo = photo.TurnedClockwise();
    ASSERT_EQ(Run(photo, {right, left}), IDP_OK);
    const PairCrop& pair = *result->pairCrop;
    const FaceRecord& f0 = *result->Face(0);
    EXPECT_EQ(std::pair(pair.rotCos, pair.rotSin), std::pair(c, s));
    EXPECT_EQ(f0.source.keyPoints[kLeftEyeCentre].x, left.keyPoints[kLeftEyeCentre].x)
        << "the face that is left when upright comes first";
    ExpectCropped(photo, ReadCrop(result.get(), 0), 7, [&, c = c, s = s](int32_t j, int32_t i) {
      const double rx = j - pair.refX, ry = i - pair.refY;
      return Place{c * rx - s * ry + f0.centreX, s * rx + c * ry + f0.centreY};
    });
    if (HasFatalFailure()) return;
  }
  EXPECT_EQ(Run(photo, {left, TurnClockwise(right, photo.height)}), IDP_ERR_PAIR_CROP);
  EXPECT_EQ(result->faceCount, 0);
  EXPECT_EQ(result->pairCrop, nullptr);
  int32_t width = 1, height = 1;
  EXPECT_EQ(QX_IDP_GetRCSize(result.get(), -1, &height, &width), IDP_OK);
  EXPECT_EQ(width, 0);
}

TEST_F(PairCropTest, PointsAnywhereNeitherOverflowNorCrash) {
  for (const int32_t far : {46341, 1000000000, 2147483647, -2147483647}) {
    ScriptedFace face = LevelFace(25, 25, 10);
    for (int k : {0, 9, 16}) face.landmarks[k] = {far, WrapAdd(-far, k)};
    Run(Photo(50, 50), {face, LevelFace(20, 20, 10)});
    QX_IDP_SetSrcSame(handle.get(), 1);
  }
  QX_IDP_SetSrcSame(handle.get(), 0);
  QX_IDP_SetRCLRBound(handle.get(), -1);
  EXPECT_EQ(Run(Photo(50, 50), {LevelFace(25, 25, 10), LevelFace(20, 20, 10)}), IDP_OK);
  QX_IDP_SetRCLRRatio(handle.get(), std::nan(""));
  EXPECT_EQ(Run(Photo(50, 50), {LevelFace(25, 25, 10), LevelFace(20, 20, 10)}), IDP_OK);
}

}  // namespace
}  // namespace qx::test
