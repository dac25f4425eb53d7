// Argument checks, settings and life cycle.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "src/crop_fixture.h"

namespace qx::test {
namespace {

class Exports : public CropTest {
 protected:
  void TearDown() override {
    handle.reset();
    EXPECT_EQ(Script().openLists, 0);
    EXPECT_EQ(Script().openInstances, 0);
  }
  void CropOneFace(uint8_t srcSame = 0) {
    QX_IDP_SetSrcSame(handle.get(), srcSame);
    ASSERT_EQ(Run(photo, {LevelFace(300, 300, 100)}), IDP_OK);
  }

  Photo photo{600, 650};
};

TEST_F(Exports, AHandleNeedsAllThreeInstancesOfTheEngine) {
  handle.reset();
  const char* releases[3] = {"FaceDetectorRelease()", "LandmarkerRelease()", "FaceAttrRelease()"};
  for (int refused = 0; refused < 3; ++refused) {
    Script().Reset();
    Script().refuse[refused] = true;
    EXPECT_EQ(QX_IDP_CreateHandle(), nullptr);
    std::vector<std::string> expected = {"FaceDetectorCreate()", "LandmarkerCreate()", "FaceAttrCreate()"};
    for (int i = 0; i < 3; ++i) {
      if (i != refused) expected.push_back(releases[i]);
    }
    EXPECT_EQ(Script().calls, expected);
  }
  Script().Reset();
  QX_IDP_DeleteHandle(nullptr);
  QX_IDP_DeleteIDPResult(nullptr);
  EXPECT_TRUE(Script().calls.empty());
}

TEST_F(Exports, SettingsKeepTheirRanges) {
  uint8_t same = 9;
  EXPECT_EQ(QX_IDP_GetSrcSame(handle.get(), &same), IDP_OK);
  EXPECT_EQ(same, 0);
  EXPECT_EQ(QX_IDP_SetSrcSame(handle.get(), 200), IDP_OK);
  QX_IDP_GetSrcSame(handle.get(), &same);
  EXPECT_EQ(same, 200);

  int32_t bound = 0;
  QX_IDP_GetRCLRBound(handle.get(), &bound);
  EXPECT_EQ(bound, 800);
  EXPECT_EQ(QX_IDP_SetRCLRBound(handle.get(), 600), IDP_OK);
  for (const int32_t refused : {0, 599}) EXPECT_EQ(QX_IDP_SetRCLRBound(handle.get(), refused), IDP_ERR_PARAM);
  QX_IDP_GetRCLRBound(handle.get(), &bound);
  EXPECT_EQ(bound, 600);
  EXPECT_EQ(QX_IDP_SetRCLRBound(handle.get(), -5), IDP_OK);
  QX_IDP_GetRCLRBound(handle.get(), &bound);
  EXPECT_EQ(bound, -1);

  double ratio = 0;
  QX_IDP_GetRCLRRatio(handle.get(), &ratio);
  EXPECT_EQ(ratio, 0.6666666666666664);
  for (const double refused : {-1e-300, 1.0000001}) {
    EXPECT_EQ(QX_IDP_SetRCLRRatio(handle.get(), refused), IDP_ERR_PARAM);
  }
  for (const double kept : {1.0, -0.0, 0.3}) {
    EXPECT_EQ(QX_IDP_SetRCLRRatio(handle.get(), kept), IDP_OK);
    QX_IDP_GetRCLRRatio(handle.get(), &ratio);
    EXPECT_NEAR(ratio, kept, 1e-15);
  }
  EXPECT_EQ(QX_IDP_SetRCLRRatio(handle.get(), std::nan("")), IDP_OK);
  QX_IDP_GetRCLRRatio(handle.get(), &ratio);
  EXPECT_TRUE(std::isnan(ratio));

  EXPECT_EQ(QX_IDP_SetSrcSame(nullptr, 1), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_GetSrcSame(nullptr, nullptr), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_GetSrcSame(handle.get(), nullptr), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_SetRCLRBound(nullptr, 5), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_GetRCLRBound(nullptr, nullptr), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_GetRCLRBound(handle.get(), nullptr), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_SetRCLRRatio(nullptr, 7), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_GetRCLRRatio(nullptr, nullptr), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_GetRCLRRatio(handle.get(), nullptr), IDP_ERR_PARAM);
}

TEST_F(Exports, RoughCropChecksInOrderAndLeavesTheResultAlone) {
  CropOneFace();
  IdpImage image = photo.Image();
  EXPECT_EQ(QX_IDP_RoughCrop(nullptr, nullptr, 9, result.get()), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_RoughCrop(handle.get(), nullptr, 9, nullptr), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_RoughCrop(handle.get(), nullptr, 1, result.get()), IDP_ERR_PARAM);
  for (const int32_t mode : {0, 3, -1}) {
    EXPECT_EQ(QX_IDP_RoughCrop(handle.get(), &image, mode, result.get()), IDP_ERR_PARAM);
  }
  image.channels = 4;
  EXPECT_EQ(QX_IDP_RoughCrop(handle.get(), &image, 1, result.get()), IDP_ERR_PARAM);
  image.channels = 3;
  image.pixels = nullptr;
  EXPECT_EQ(QX_IDP_RoughCrop(handle.get(), &image, 1, result.get()), IDP_ERR_PARAM);
  int32_t count = 0;
  EXPECT_EQ(QX_IDP_GetFaceNumber(result.get(), &count), IDP_OK);
  EXPECT_EQ(count, 1);
}

TEST_F(Exports, GettersAnswerForFreshResultsAndOddIndices) {
  int32_t a = 5, b = 6;
  uint8_t byte = 1;
  EXPECT_EQ(QX_IDP_GetFaceNumber(nullptr, nullptr), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_GetFaceNumber(result.get(), nullptr), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_GetRCSize(nullptr, 0, &a, &b), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_GetRCSize(result.get(), 0, &a, &b), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_GetRCImage(nullptr, 0, &byte, &byte), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_GetRCImage(result.get(), 0, &byte, &byte), IDP_ERR_PARAM);
  EXPECT_EQ(std::pair(a, b), std::pair(5, 6)) << "outs are written on success only";

  for (const bool filled : {false, true}) {
    if (filled) CropOneFace();
    for (const int32_t index : {-1, std::numeric_limits<int32_t>::min()}) {
      EXPECT_EQ(QX_IDP_GetRCSize(result.get(), index, &a, &b), IDP_OK);
      EXPECT_EQ(std::pair(a, b), std::pair(0, 0));
      EXPECT_EQ(QX_IDP_GetRCImage(result.get(), index, &byte, &byte), IDP_ERR_PARAM);
      EXPECT_EQ(QX_IDP_GetRCMaskFg(result.get(), index, &byte, &byte), IDP_ERR_PARAM);
      EXPECT_EQ(QX_IDP_GetSrcMaskFg(result.get(), index, &byte, &byte), IDP_ERR_PARAM);
      EXPECT_EQ(QX_IDP_SetSrcMaskFg(result.get(), index, &byte, &byte), IDP_ERR_PARAM);
    }
  }
  EXPECT_EQ(QX_IDP_GetRCSize(result.get(), 0, nullptr, &b), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_GetRCSize(result.get(), 0, &a, nullptr), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_GetRCSize(result.get(), 1, &a, &b), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_GetRCImage(result.get(), 0, nullptr, &byte), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_GetRCImage(result.get(), 0, &byte, nullptr), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_GetRCSize(result.get(), 0, &a, &b), IDP_OK);
  EXPECT_EQ(std::pair(a, b), std::pair(610, 480)) << "the height comes first";
}

TEST_F(Exports, MaskCallsCheckInOrder) {
  uint8_t byte = 0;
  EXPECT_EQ(QX_IDP_Segment(nullptr, nullptr, &byte), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_Segment(handle.get(), nullptr, nullptr), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_Segment(handle.get(), nullptr, &byte), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_GetRCMaskFg(nullptr, 0, &byte, &byte), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_GetSrcMaskFg(nullptr, 0, &byte, &byte), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_SetSrcMaskFg(nullptr, 0, &byte, &byte), IDP_ERR_HANDLE);
  CropOneFace();
  EXPECT_EQ(QX_IDP_GetRCMaskFg(result.get(), 1, &byte, &byte), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_GetRCMaskFg(result.get(), 0, nullptr, nullptr), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_GetRCMaskFg(result.get(), 0, nullptr, &byte), IDP_ERR_NO_MASK);
  EXPECT_EQ(QX_IDP_GetSrcMaskFg(result.get(), 0, nullptr, nullptr), IDP_ERR_NO_MASK) << "before the scale is looked at";
  EXPECT_EQ(QX_IDP_SetSrcMaskFg(result.get(), 0, &byte, &byte), IDP_ERR_PARAM);
  CropOneFace(1);
  EXPECT_EQ(QX_IDP_SetSrcMaskFg(result.get(), 0, nullptr, &byte), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_SetSrcMaskFg(result.get(), 0, &byte, nullptr), IDP_ERR_PARAM);
}

TEST_F(Exports, QualityBeautyAndFineCropCheckInOrder) {
  uint8_t byte = 0;
  const BeautyParams params = {};
  FineCropParams fine = {};
  CropRect rect = {};
  QualityScores scores = {};
  IdpImage image = photo.Image();
  EXPECT_EQ(QX_IDP_CheckQuality(nullptr, result.get(), 0, &scores), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_CheckQuality(handle.get(), nullptr, 0, &scores), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_CheckQuality(handle.get(), result.get(), 0, &scores), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_DoFaceBeauty(nullptr, &image, result.get(), 0, &params, &byte, &byte), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_DoFaceBeauty(handle.get(), &image, nullptr, 0, &params, &byte, &byte), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_Do91Beauty(handle.get(), nullptr, 0, &params, &byte, &byte), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_FineCrop(nullptr, 0, &fine, &rect), IDP_ERR_HANDLE);
  EXPECT_EQ(QX_IDP_FineCrop(result.get(), 0, &fine, &rect), IDP_ERR_PARAM);
  CropOneFace(1);
  EXPECT_EQ(QX_IDP_CheckQuality(handle.get(), result.get(), -1, &scores), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_FineCrop(result.get(), 0, &fine, &rect), IDP_ERR_NO_MASK);
  EXPECT_EQ(QX_IDP_DoFaceBeauty(handle.get(), nullptr, result.get(), 0, &params, &byte, nullptr), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_DoFaceBeauty(handle.get(), nullptr, result.get(), 1, &params, &byte, &byte), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_DoFaceBeauty(handle.get(), nullptr, result.get(), 0, &params, nullptr, &byte), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_DoFaceBeauty(handle.get(), nullptr, result.get(), 0, &params, &byte, &byte), IDP_ERR_NO_MASK);
  image.channels = 1;
  EXPECT_EQ(QX_IDP_DoFaceBeauty(handle.get(), &image, result.get(), 0, &params, nullptr, &byte), IDP_ERR_PARAM);
  image.pixels = nullptr;
  EXPECT_EQ(QX_IDP_DoFaceBeauty(handle.get(), &image, result.get(), 0, &params, &byte, &byte), IDP_ERR_NO_MASK);
  EXPECT_EQ(QX_IDP_Do91Beauty(handle.get(), result.get(), 0, &params, nullptr, &byte), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_Do91Beauty(handle.get(), result.get(), 0, &params, &byte, &byte), IDP_ERR_NO_MASK);
}

TEST_F(Exports, EmptyCropsHarmNoLaterCall) {
  for (const bool nan : {false, true}) {
    if (nan) {
      QX_IDP_SetRCLRRatio(handle.get(), std::nan(""));
    } else {
      QX_IDP_SetRCLRBound(handle.get(), -1);
    }
    CropOneFace();
    const Crop crop = ReadCrop(result.get(), 0);
    if (!nan) {
      EXPECT_EQ(std::pair(crop.width, crop.height), std::pair(-1, 0));
    }
    EXPECT_TRUE(crop.image.empty());
    uint8_t byte = 1;
    QualityScores scores;
    const BeautyParams params = {};
    QX_IDP_CheckQuality(handle.get(), result.get(), 0, &scores);
    QX_IDP_DoFaceBeauty(handle.get(), nullptr, result.get(), 0, &params, &byte, &byte);
    EXPECT_EQ(QX_IDP_GetRCMaskFg(result.get(), 0, &byte, &byte), IDP_ERR_NO_MASK);
  }
}

TEST(Header, NamesStatuses) {
  EXPECT_STREQ(QX_IDP_StatusName(IDP_ERR_NO_FACE), "IDP_ERR_NO_FACE");
  EXPECT_STREQ(QX_IDP_StatusName(-2), "unknown status");
}

}  // namespace
}  // namespace qx::test
