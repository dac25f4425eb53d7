#include "photo/render/extend_colours.h"

#include <algorithm>
#include <cstddef>

namespace qx::photo {
namespace {

// Distances as far as they are known, one byte a pixel: 0 where the mask is not empty.
class Extension {
 public:
  Extension(const Mask& mask, Image* picture) : picture_(*picture), distances_(mask.width, mask.height) {
    for (size_t i = 0; i < mask.values.size(); ++i) distances_.values[i] = mask.values[i] == 0 ? kFar : uint8_t{0};
  }

  // The distance along rows and columns needs each pixel's upper and left neighbours in their order, then, the other
  // way round, the lower and right ones.
  void Extend() {
    const int32_t width = picture_.width, height = picture_.height;
    for (int32_t y = 0; y < height; ++y) {
      for (int32_t x = 0; x < width; ++x) {
        if (y > 0) Take(x, y, x, y - 1);
        if (x > 0) Take(x, y, x - 1, y);
      }
    }
    for (int32_t y = height - 1; y >= 0; --y) {
      for (int32_t x = width - 1; x >= 0; --x) {
        if (y + 1 < height) Take(x, y, x, y + 1);
        if (x + 1 < width) Take(x, y, x + 1, y);
        if (distances_.Row(y)[x] == kFar) std::fill_n(picture_.At(x, y), 3, uint8_t{0});
      }
    }
  }

 private:
  static constexpr uint8_t kFar = kColourReach + 1;

  void Take(int32_t x, int32_t y, int32_t fromX, int32_t fromY) {
    uint8_t& distance = distances_.Row(y)[x];
    const int beside = distances_.Row(fromY)[fromX] + 1;
    if (beside >= distance) return;
    distance = static_cast<uint8_t>(beside);
    std::copy_n(picture_.At(fromX, fromY), 3, picture_.At(x, y));
  }

  Image& picture_;
  Mask distances_;
};

}  // namespace

void ExtendColours(const Mask& mask, Image* picture) {
  Extension(mask, picture).Extend();
}

}  // namespace qx::photo
