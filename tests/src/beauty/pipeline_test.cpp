// The pipeline and the two beauty calls.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "api/pair_beauty.h"
#include "api/result.h"
#include "beauty/detail/enhance_region.h"
#include "beauty/pipeline.h"
#include "beauty/retouch_skin.h"
#include "beauty/shape/contour_warp.h"
#include "beauty/shape/lens_warp.h"
#include "beauty/skin_tone.h"
#include "src/crop_fixture.h"

namespace qx::test {
namespace {

class Beauty : public CropTest {
 protected:
  void Crop(std::vector<ScriptedFace> faces, int32_t mode = IDP_CROP_SINGLE) {
    QX_IDP_SetSrcSame(handle.get(), 1);
    ASSERT_EQ(Run(photo, std::move(faces), mode), IDP_OK);
  }
  void SetMask(int32_t index) {
    ASSERT_EQ(QX_IDP_SetSrcMaskFg(result.get(), index, mask.pixels.data(), photo.pixels.data()), IDP_OK);
  }
  // The whole photograph through the image path.
  std::vector<uint8_t> Retouch(const BeautyParams& params, int32_t index = 0) {
    std::vector<uint8_t> out(photo.pixels.size());
    const IdpImage image = photo.Image();
    EXPECT_EQ(QX_IDP_DoFaceBeauty(handle.get(), &image, result.get(), index, &params, nullptr, out.data()), IDP_OK);
    return out;
  }

  Photo photo{420, 400};
  Photo mask{420, 400, 1};
};

TEST_F(Beauty, ZeroStrengthsAreTheIdentity) {
  Crop({DetailedFace(200, 200, 120)});
  EXPECT_EQ(Retouch({}), photo.pixels);
  EXPECT_EQ(Retouch({{0, 0, 0, 0.9, 0, 0, 0}}), photo.pixels) << "a tone below 1 is strength 0";
  EXPECT_EQ(Retouch({{0, 0, 0, -3, -3, -3, 0}}), photo.pixels) << "negative switches are off";
  EXPECT_EQ(Retouch({{0, 0, 0, 1e300, 0, 0, 0}}), photo.pixels) << "a tone beyond int32 fails and is restored";
  const double nan = std::nan("");
  EXPECT_EQ(Retouch({{nan, nan, nan, nan, nan, nan, nan}}), photo.pixels);
}

TEST_F(Beauty, RunsTheStagesInTheirOrder) {
  Crop({DetailedFace(200, 200, 120)});
  const LandmarkSet set = BuildLandmarkSetSource(*result->Face(0));
  const auto view = [this](const std::vector<uint8_t>& bytes) {
    return ImageView{bytes.data(), photo.width, photo.height, 3};
  };
  std::vector<uint8_t> reference = photo.pixels, a = photo.pixels, b(a.size());
  const Point* left = set.Region(FaceRegion::kLeftEye);
  const Point* right = set.Region(FaceRegion::kRightEye);
  EnhanceRegion(reference.data(), view(a), left, 0.7, b.data());
  EnhanceRegion(reference.data(), view(b), right, 0.7, a.data());
  const std::vector<uint8_t> detailed = a;
  LandmarkSet own = set;
  RetouchSkin({a.data(), photo.width, photo.height, 3}, 2.5, &own, b.data());
  EXPECT_NE(a, detailed);
  ApplySkinToneLut(view(a), 4, b.data());
  ASSERT_EQ(LensWarp(view(b), FaceRegion::kLeftEye, left, 200, 1, 2, a.data()), Status::kOk);
  ASSERT_EQ(LensWarp(view(a), FaceRegion::kRightEye, right, 210, 0, 2, b.data()), Status::kOk);
  ASSERT_EQ(LensWarp(view(b), FaceRegion::kMouth, set.Region(FaceRegion::kMouth), 220, 1, 1, a.data()), Status::kOk);
  ASSERT_EQ(ContourWarp(view(a), nullptr, set.Attributes(), 3, b.data(), nullptr), Status::kOk);
  EXPECT_EQ(Retouch({{2, -2, 1, 4.9, 2.5, 0.001, 3}}), b);
  EXPECT_EQ(Retouch({{2, -2, 1, 4.9, 2.5, 100, 3}}), b) << "the detail switch has no strength";
  EXPECT_NE(Retouch({{2, 0, 0, 0, 0, 0, 0}}), Retouch({{-2, 0, 0, 0, 0, 0, 0}}));
}

TEST_F(Beauty, WorksInPlaceAndRestoresTheContour) {
  ScriptedFace face = DetailedFace(200, 200, 120);
  face.attributes[kLeftCheek] = {200, 220};  // on the axis: the contour stage refuses
  Crop({face});
  const BeautyParams params = {{2, 2, 0, 3, 0, 0, 5}};
  BeautyParams noContour = params;
  noContour.p[6] = 0;
  const std::vector<uint8_t> expected = Retouch(noContour);
  EXPECT_EQ(Retouch(params), expected);
  const LandmarkSet set = BuildLandmarkSetSource(*result->Face(0));
  std::vector<uint8_t> image = photo.pixels, maskBytes = mask.pixels;
  RunBeautyPipeline({image.data(), photo.width, photo.height, 3}, set, params, maskBytes.data(), image.data());
  EXPECT_EQ(image, expected);
  EXPECT_EQ(maskBytes, mask.pixels);
}

TEST_F(Beauty, TheCropPathsLeaveTheForegroundAsItWasSet) {
  Crop({DetailedFace(200, 200, 120)});
  SetMask(0);
  const FaceRecord& face = *result->Face(0);
  const auto pixels = static_cast<size_t>(face.cropWidth * face.cropHeight);
  const std::vector<uint8_t> before(face.fgColour.data(), face.fgColour.data() + pixels * 3);
  const BeautyParams params = {{3, 3, 0, 5, 0, 1, 4}};
  std::vector<uint8_t> maskOut(pixels), imageOut(pixels * 3);
  ASSERT_EQ(QX_IDP_DoFaceBeauty(handle.get(), nullptr, result.get(), 0, &params, maskOut.data(), imageOut.data()),
            IDP_OK);
  EXPECT_EQ(std::memcmp(before.data(), face.fgColour.data(), before.size()), 0);
  EXPECT_NE(imageOut, before);
  EXPECT_NE(std::memcmp(maskOut.data(), face.fgMask.data(), pixels), 0) << "the contour carries the mask along";

  std::vector<uint8_t> sourceMask(mask.pixels.size(), 9), sourceImage(photo.pixels.size(), 9);
  ASSERT_EQ(QX_IDP_Do91Beauty(handle.get(), result.get(), 0, &params, sourceMask.data(), sourceImage.data()), IDP_OK);
  const auto ox = static_cast<int32_t>(face.originX), oy = static_cast<int32_t>(face.originY);
  for (int32_t y = 0; y < photo.height; ++y) {
    for (int32_t x = 0; x < photo.width; ++x) {
      const int32_t u = x - ox, v = y - oy;
      const bool inside = u >= 0 && v >= 0 && u < face.cropWidth && v < face.cropHeight;
      const auto at = static_cast<size_t>(v * face.cropWidth + u);
      ASSERT_EQ(sourceMask[static_cast<size_t>(y * photo.width + x)], inside ? maskOut[at] : 0);
    }
  }
}

TEST_F(Beauty, PairsKeepTheStrengthsOfEachFace) {
  Crop({DetailedFace(120, 180, 60), DetailedFace(280, 190, 60)}, IDP_CROP_PAIR);
  const BeautyParams tone = {{0, 0, 0, 6, 0, 0, 0}}, eyes = {{3, 3, 0, 0, 0, 0, 0}};
  const std::vector<uint8_t> first = Retouch(tone, 0);
  EXPECT_EQ(result->pairCrop->beauty[0].p[3], 6);
  const std::vector<uint8_t> both = Retouch(eyes, 1);
  EXPECT_NE(both, first);
  std::vector<uint8_t> expected = first;
  RunBeautyPipeline({first.data(), photo.width, photo.height, 3}, BuildLandmarkSetSource(*result->Face(1)), eyes,
                    nullptr, expected.data());
  EXPECT_EQ(both, expected);
  std::vector<uint8_t> canvas(static_cast<size_t>(result->pairCrop->cropWidth * result->pairCrop->cropHeight) * 3, 7);
  EXPECT_EQ(QX_IDP_DoFaceBeauty(handle.get(), nullptr, result.get(), 0, &tone, nullptr, canvas.data()), IDP_OK)
      << "absent foreground buffers count as zeros";
  EXPECT_EQ(std::count(canvas.begin(), canvas.end(), 0), static_cast<long>(canvas.size()));
}

TEST_F(Beauty, ThePairCanvasGoesToTheStrongerMask) {
  Crop({DetailedFace(120, 180, 60), DetailedFace(280, 190, 60)}, IDP_CROP_PAIR);
  PairCrop& pair = *result->pairCrop;
  for (int i = 0; i < 2; ++i) {
    FaceRecord& face = *result->Face(i);
    const auto pixels = static_cast<size_t>(face.cropWidth * face.cropHeight);
    ASSERT_TRUE(face.fgMask.Allocate(pixels) && face.fgColour.Allocate(pixels * 3));
    std::memset(face.fgColour.data(), 50 + i, pixels * 3);
    for (size_t k = 0; k < pixels; ++k) {
      const auto column = static_cast<int>(k % static_cast<size_t>(face.cropWidth)) + pair.boxes[i].left;
      face.fgMask[k] = static_cast<uint8_t>(i == 0 ? 100 : column < 200 ? 99 : column < 220 ? 100 : 101);
    }
  }
  ComposePairBeauty(result.get(), nullptr, nullptr, nullptr);
  ASSERT_TRUE(pair.fgMask && pair.fgColour);
  const PairBox& b0 = pair.boxes[0];
  const PairBox& b1 = pair.boxes[1];
  for (int32_t y = 0; y < pair.cropHeight; ++y) {
    for (int32_t x = 0; x < pair.cropWidth; ++x) {
      const bool in0 = x >= b0.left && x < b0.right && y >= b0.top && y < b0.bottom;
      const bool in1 = x >= b1.left && x < b1.right && y >= b1.top && y < b1.bottom;
      const int expected = in0 && (!in1 || x < 200) ? 50 : in1 ? 51 : 0;
      ASSERT_EQ(pair.fgColour[static_cast<size_t>(y * pair.cropWidth + x) * 3], expected) << x << "," << y;
    }
  }
  CropRect rect;
  const FineCropParams params = {};
  EXPECT_NE(QX_IDP_FineCrop(result.get(), 0, &params, &rect), IDP_ERR_PARAM) << "both masks are there now";
}

}  // namespace
}  // namespace qx::test
