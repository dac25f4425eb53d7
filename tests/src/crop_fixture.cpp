#include "src/crop_fixture.h"

#include <algorithm>

namespace qx::test {

Crop ReadCrop(IDPResult* result, int32_t index) {
  Crop crop;
  EXPECT_EQ(QX_IDP_GetRCSize(result, index, &crop.height, &crop.width), IDP_OK);
  const auto pixels = static_cast<size_t>(std::max(crop.width, 0)) * static_cast<size_t>(std::max(crop.height, 0));
  crop.image.assign(pixels * 3 + 1, 0xa5);
  crop.mask.assign(pixels + 1, 0xa5);
  EXPECT_EQ(QX_IDP_GetRCImage(result, index, crop.image.data(), crop.mask.data()), IDP_OK);
  EXPECT_EQ(crop.image.back(), 0xa5) << "wrote past the end";
  EXPECT_EQ(crop.mask.back(), 0xa5) << "wrote past the end";
  crop.image.pop_back();
  crop.mask.pop_back();
  return crop;
}

void ExpectCropped(const Photo& photo, const Crop& crop, int32_t step,
                   const std::function<Place(int32_t, int32_t)>& place) {
  for (int32_t i = 0; i < crop.width * crop.height; i += step) {
    const auto at = static_cast<size_t>(i);
    const auto [x, y] = place(i % crop.width, i / crop.width);
    const bool inside = !(x < 0 || x > photo.width - 1 || y < 0 || y > photo.height - 1);
    ASSERT_EQ(crop.mask[at], inside ? 1 : 0) << x << "," << y;
    const auto x0 = inside ? static_cast<int32_t>(x) : 0, y0 = inside ? static_cast<int32_t>(y) : 0;
    const int32_t x1 = std::min(x0 + 1, photo.width - 1), y1 = std::min(y0 + 1, photo.height - 1);
    const double fx = x - x0, fy = y - y0;
    for (size_t k = 0; k < 3; ++k) {
      const size_t c = photo.channels == 1 ? 0 : k;
      const double value = photo.At(x0, y0)[c] * (1 - fx) * (1 - fy) + photo.At(x0, y1)[c] * (1 - fx) * fy +
                           photo.At(x1, y0)[c] * fx * (1 - fy) + photo.At(x1, y1)[c] * fx * fy;
      ASSERT_EQ(crop.image[at * 3 + k], inside ? static_cast<int>(value + 0.5) : 255) << x << "," << y;
    }
  }
}

}  // namespace qx::test
