// Exchange of a person mask between the photograph and a crop.
#include "mask/mask_transfer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "api/result.h"
#include "src/crop_fixture.h"

namespace qx::test {
namespace {

struct Planes {
  Planes(int32_t w, int32_t h) : width(w), height(h), mask(w, h, 1), colour(w, h, 3) {}
  int32_t width, height;
  Photo mask, colour;
};

// Where a position falls by the two formulas of the exchange; both give whole numbers.
struct Position {
  double x, y;
};
Position CropToSource(const FaceRecord& f, double x, double y) {
  const double X = x + f.originX, Y = y + f.originY;
  return {f.rotSin * Y + f.rotCos * X, f.rotCos * Y - f.rotSin * X};
}
Position SourceToCrop(const FaceRecord& f, double x, double y) {
  const double dx = x - f.originX, dy = y - f.originY;
  return {f.rotCos * dx - f.rotSin * dy, f.rotSin * dx + f.rotCos * dy};
}

template <typename Map>
void ExpectTransfer(const Photo& from, const uint8_t* to, int32_t width, int32_t height, Map map) {
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const Position p = map(x, y);
      const bool inside = p.x >= 0 && p.y >= 0 && p.x <= from.width - 1 && p.y <= from.height - 1;
      for (int32_t c = 0; c < from.channels; ++c) {
        const uint8_t expected = inside ? from.At(static_cast<int32_t>(p.x), static_cast<int32_t>(p.y))[c] : 0;
        ASSERT_EQ(to[(y * width + x) * from.channels + c], expected) << x << "," << y;
      }
    }
  }
}

TEST(MaskTransfer, FollowsTheTwoFormulasInEveryTurn) {
  const Planes source(23, 17);
  const std::pair<double, double> turns[] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
  const Position origins[] = {{0, 0}, {-5, 4}, {20, -9}, {-16, -22}, {500, 2147483647.0}, {-2147483648.0, 3}};
  for (const auto& [c, s] : turns) {
    for (const Position& origin : origins) {
      FaceRecord face;
      face.cropWidth = 19;
      face.cropHeight = 26;
      face.rotCos = c;
      face.rotSin = s;
      face.originX = origin.x;
      face.originY = origin.y;
      ASSERT_TRUE(ReserveForeground(&face));
      std::memset(face.fgMask.data(), 0xa5, 19 * 26);
      ASSERT_TRUE(MaskToCrop(source.mask.View(), source.colour.View(), &face));
      const auto forward = [&face](double x, double y) { return CropToSource(face, x, y); };
      ExpectTransfer(source.mask, face.fgMask.data(), 19, 26, forward);
      ExpectTransfer(source.colour, face.fgColour.data(), 19, 26, forward);

      const Planes crop(19, 26);
      Planes back(23, 17);
      ASSERT_TRUE(MapCropToSource(face, crop.mask.pixels.data(), crop.colour.pixels.data(),
                                  {back.mask.pixels.data(), 23, 17, 1}, {back.colour.pixels.data(), 23, 17, 3}));
      const auto backward = [&face](double x, double y) { return SourceToCrop(face, x, y); };
      ExpectTransfer(crop.mask, back.mask.pixels.data(), 23, 17, backward);
      ExpectTransfer(crop.colour, back.colour.pixels.data(), 23, 17, backward);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

class MaskCalls : public CropTest {};

TEST_F(MaskCalls, AMaskComesBackInsideTheCrop) {
  QX_IDP_SetSrcSame(handle.get(), 1);
  ASSERT_EQ(Run(Photo(500, 500), {LevelFace(300, 200, 100)}), IDP_OK);
  Planes source(500, 500), back(500, 500);
  for (int round = 0; round < 2; ++round) {  // the second call reuses the buffers
    ASSERT_EQ(QX_IDP_SetSrcMaskFg(result.get(), 0, source.mask.pixels.data(), source.colour.pixels.data()), IDP_OK);
    ASSERT_EQ(QX_IDP_GetSrcMaskFg(result.get(), 0, back.mask.pixels.data(), nullptr), IDP_OK);
    ASSERT_EQ(QX_IDP_GetSrcMaskFg(result.get(), 0, nullptr, back.colour.pixels.data()), IDP_OK);
    EXPECT_EQ(QX_IDP_GetSrcMaskFg(result.get(), 0, nullptr, nullptr), IDP_OK);
    // The crop starts at column 60 and covers all rows.
    for (int32_t y = 0; y < 500; ++y) {
      for (int32_t x = 0; x < 500; ++x) {
        ASSERT_EQ(*back.mask.At(x, y), x < 60 ? 0 : *source.mask.At(x, y)) << x << "," << y;
      }
      ASSERT_EQ(std::memcmp(back.colour.At(60, y), source.colour.At(60, y), 440 * 3), 0);
    }
    std::reverse(source.mask.pixels.begin(), source.mask.pixels.end());
  }
  std::vector<uint8_t> mask(480 * 610), colour(480 * 610 * 3);
  ASSERT_EQ(QX_IDP_GetRCMaskFg(result.get(), 0, mask.data(), colour.data()), IDP_OK);
  EXPECT_EQ(std::memcmp(mask.data(), result->Face(0)->fgMask.data(), mask.size()), 0);
  result->settings.srcSame = 0;
  EXPECT_EQ(QX_IDP_GetSrcMaskFg(result.get(), 0, nullptr, nullptr), IDP_ERR_PARAM);
  EXPECT_EQ(QX_IDP_SetSrcMaskFg(result.get(), 0, mask.data(), mask.data()), IDP_ERR_PARAM);
}

}  // namespace
}  // namespace qx::test
