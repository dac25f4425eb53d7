#include "beauty/compose_skin_mask.h"

namespace qx {
namespace {

constexpr int32_t kFullSize = 70;  // twice the side from which on a face has full weight

}  // namespace

void ComposeSkinMask(uint8_t* mask, Point corner0, Point corner1, const SkinBox& box, const uint8_t* region,
                     int32_t width, const uint8_t* score) {
  const double size = 2.0 * TruncatedDistance(corner0, corner1);
  const double factor = size < kFullSize ? size / kFullSize : 1.0;
  uint8_t weights[256];
  for (int v = 0; v < 256; ++v) weights[v] = static_cast<uint8_t>(TruncToInt32(std::clamp(v * factor, 1.0, 255.0)));
  for (int32_t y = box.top; y < box.bottom; ++y) {
    const size_t row = static_cast<size_t>(y) * static_cast<size_t>(width);
    for (int32_t x = box.left; x < box.right; ++x) {
      const size_t at = row + static_cast<size_t>(x);
      if (region[at] != 0) mask[at] = std::max(mask[at], weights[score[at] * region[at] / 255]);
    }
  }
}

}  // namespace qx
