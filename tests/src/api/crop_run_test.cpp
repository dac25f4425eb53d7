// What the crop run asks of the engine and what it makes of the answers.
#include <gtest/gtest.h>

#include <algorithm>

#include "api/result.h"
#include "crop/cut_crops.h"
#include "crop/portrait_crop.h"
#include "src/crop_fixture.h"

namespace qx::test {
namespace {

using Calls = std::vector<std::string>;

class CropRun : public CropTest {
 protected:
  void TearDown() override { EXPECT_EQ(Script().openLists, 0) << "a face list was not given back"; }

  int32_t Run(const IdpImage& image, int32_t mode = IDP_CROP_SINGLE) {
    Script().calls.clear();
    return QX_IDP_RoughCrop(handle.get(), &image, mode, result.get());
  }
  long CountCalls(const std::string& start) const {
    const auto& calls = Script().calls;
    return std::count_if(calls.begin(), calls.end(), [&](const std::string& c) { return c.rfind(start, 0) == 0; });
  }
};

TEST_F(CropRun, CallsTheEngineInOrder) {
  ScriptedFace outside = LevelFace(60, 50, 20);
  const int32_t corners[] = {-7, 50, 1000, 0, -1, 90, 900, 5000};
  std::copy(std::begin(corners), std::end(corners), outside.corners);
  Script().detections = {{LevelFace(40, 40, 20), outside}};
  Photo photo(120, 90);
  ASSERT_EQ(Run(photo.Image()), IDP_OK);
  EXPECT_EQ(Script().calls,
            (Calls{"SetDetectFlagA(1)", "SetDetectParamB(15)", "SetDetectFlagC(1)", "SetDetectThreshold(550)",
                   "SetDetectSizeRange(80,90)", "SetDetectMinFace(15)", "FaceDetect(120,90,1)",
                   "FaceAlign(120,90,1,0,30,30,50,50)", "FaceAttr(120,90,1,30,0,10,20,30)",
                   "FaceAlign(120,90,1,1,0,50,119,89)", "FaceAttr(120,90,1,50,1,11,21,31)", "FaceListFree()"}));
  const Point* box = result->Face(1)->source.faceBox;
  EXPECT_EQ(std::pair(box[1].x, box[1].y), std::pair(119, 0));
  EXPECT_EQ(std::pair(box[2].x, box[2].y), std::pair(0, 89));
  EXPECT_EQ(result->Face(1)->alignInfoC, 31);
  EXPECT_EQ(result->Face(0)->alignOutH, 220);
}

TEST_F(CropRun, RetriesOnceWithLooserSettings) {
  Photo photo(1000, 800);
  Script().detections = {{}, {LevelFace(400, 400, 50)}};
  ASSERT_EQ(Run(photo.Image()), IDP_OK);
  const Calls start = {
      "SetDetectFlagA(1)",          "SetDetectParamB(15)",     "SetDetectFlagC(1)",      "SetDetectThreshold(550)",
      "SetDetectSizeRange(80,800)", "SetDetectMinFace(25)",    "FaceDetect(1000,800,1)", "FaceListFree()",
      "SetDetectMinFace(10)",       "SetDetectThreshold(500)", "FaceDetect(1000,800,1)", "SetDetectThreshold(550)",
      "SetDetectMinFace(15)"};
  ASSERT_GE(Script().calls.size(), start.size());
  EXPECT_TRUE(std::equal(start.begin(), start.end(), Script().calls.begin()));

  Script().detections = {{}};
  EXPECT_EQ(Run(photo.Image()), IDP_ERR_NO_FACE);
  EXPECT_EQ(CountCalls("FaceListFree"), 2);
  EXPECT_EQ(result->faceCount, 0);
  EXPECT_EQ(result->faces, nullptr) << "the faces of the run before are gone";
}

TEST_F(CropRun, AnEngineShortOfMemoryIsNoPhotographWithoutFaces) {
  Photo photo(120, 90);
  for (const int32_t mode : {IDP_CROP_SINGLE, IDP_CROP_PAIR}) {
    for (const int detections : {1, 2}) {
      Script().detections = {{}};
      Script().shortFrom = detections - 1;
      EXPECT_EQ(Run(photo.Image(), mode), IDP_ERR_PARAM);
      EXPECT_EQ(CountCalls("FaceDetect"), detections);
      EXPECT_EQ(CountCalls("FaceListFree"), detections);
      EXPECT_EQ(result->faceCount, 0);
    }
  }
}

// Faces that were found once serve one cut after another, also of one of them alone.
TEST_F(CropRun, OneFindingServesManyCuts) {
  Photo photo(300, 260);
  Script().detections = {{LevelFace(200, 100, 20), LevelFace(80, 120, 30)}};
  const ImageView view = {photo.pixels.data(), photo.width, photo.height, photo.channels};
  FaceEngine engine;
  ASSERT_TRUE(engine.Create());
  FoundFaces found;
  ASSERT_EQ(FindFaces(view, FacesWanted::kAny, &engine, &found), Status::kOk);
  ASSERT_EQ(found.count, 2);
  Script().calls.clear();

  FaceRecord one(found.faces[1]);
  CropPortrait(view, CropSettings(), &one);
  std::unique_ptr<FaceRecord[]> pairRecords, records;
  std::unique_ptr<PairCrop> pair;
  ASSERT_EQ(CutPair(view, CropSettings(), found, &pairRecords, &pair), Status::kOk);
  EXPECT_EQ(pairRecords[0].source.keyPoints[kLeftEyeCentre].x, 65) << "the left face comes first in the pair";
  ASSERT_EQ(CutPortraits(view, CropSettings(), found, &records), Status::kOk);
  EXPECT_TRUE(Script().calls.empty()) << "cutting asks the engine for nothing";

  ASSERT_EQ(Run(photo.Image()), IDP_OK);
  for (int32_t i = 0; i < 2; ++i) {
    const Crop expected = ReadCrop(result.get(), i);
    const FaceRecord& cut = i == 1 ? one : records[0];
    ASSERT_EQ(std::pair(cut.cropWidth, cut.cropHeight), std::pair(expected.width, expected.height));
    EXPECT_TRUE(std::equal(expected.image.begin(), expected.image.end(), cut.cropImage.data()));
    EXPECT_TRUE(std::equal(expected.mask.begin(), expected.mask.end(), cut.cropMask.data()));
  }
}

TEST_F(CropRun, TheMinimumFaceFollowsTheShorterSide) {
  Script().detections = {{LevelFace(400, 400, 50)}};
  for (const auto& [side, minimum] : {std::pair(799, "SetDetectMinFace(15)"), std::pair(800, "SetDetectMinFace(25)")}) {
    Photo photo(1000, side, 1);
    ASSERT_EQ(Run(photo.Image()), IDP_OK);
    EXPECT_EQ(Script().calls[5], minimum);
  }
}

TEST_F(CropRun, PairModeWantsExactlyTwoFaces) {
  Photo photo(300, 300);
  const ScriptedFace face = LevelFace(100, 100, 20);
  for (const auto& [faces, status] : {std::pair(1, IDP_ERR_TOO_FEW_FACES), std::pair(3, IDP_ERR_TOO_MANY_FACES)}) {
    Script().detections = {std::vector<ScriptedFace>(static_cast<size_t>(faces), face)};
    EXPECT_EQ(Run(photo.Image(), IDP_CROP_PAIR), status);
    EXPECT_EQ(CountCalls("FaceAlign"), 0);
    EXPECT_EQ(result->faceCount, 0);
  }
}

TEST_F(CropRun, HandsTheEngineARoundedLuma) {
  Photo photo(4, 1);
  photo.pixels = {0, 0, 1, 2, 0, 0, 77, 77, 77, 0, 0, 2};  // blue, green, red
  Script().detections = {{}};
  Run(photo.Image());
  // (299 + 500) / 1000, (228 + 500) / 1000, a grey pixel as it is, (598 + 500) / 1000
  EXPECT_EQ(Script().grey, (std::vector<uint8_t>{0, 0, 77, 1}));

  Photo grey(7, 5, 1);
  Run(grey.Image());
  EXPECT_EQ(Script().grey, grey.pixels);
}

TEST_F(CropRun, EmptyImagesHaveNoFaces) {
  Photo photo(4, 4);
  for (const auto& [width, height] : {std::pair(0, 5), std::pair(5, -1), std::pair(INT32_MIN, INT32_MIN)}) {
    EXPECT_EQ(Run({photo.pixels.data(), 3, height, width}), IDP_ERR_NO_FACE);
  }
}

TEST_F(CropRun, AResultTakesItsSettingsFromTheHandleAtEveryRun) {
  Photo photo(600, 600);
  Script().detections = {{LevelFace(300, 300, 200)}};
  ASSERT_EQ(Run(photo.Image()), IDP_OK);
  EXPECT_EQ(result->Face(0)->cropWidth, 800);
  QX_IDP_SetSrcSame(handle.get(), 1);
  EXPECT_EQ(result->settings.srcSame, 0);
  ASSERT_EQ(Run(photo.Image()), IDP_OK);
  EXPECT_EQ(result->Face(0)->cropWidth, 960);
}

}  // namespace
}  // namespace qx::test
