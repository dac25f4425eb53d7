#include "beauty/blend_skin_layer.h"

#include <algorithm>
#include <cstring>

#include "base/number.h"

namespace qx {
namespace {

constexpr double kStrongest = 5.0;

}  // namespace

int BlendSkinLayer(const SkinLayer* layer, const uint8_t* source, int32_t width, int32_t height, double strength,
                   uint8_t* destination) {
  const bool refused = layer == nullptr || !layer->image || !layer->mask ||
                       !(strength >= 0 && strength <= kStrongest) || width < 0 || height < 0;
  const uint64_t pixels = ImageBytes(width, height, 1);
  std::memcpy(destination, source, pixels * 3);
  if (refused) return -1;
  if (strength == 0) return 1;
  int32_t weights[256];
  for (int v = 0; v < 256; ++v) weights[v] = std::min(TruncToInt32(v * strength) >> 1, 255);
  const uint8_t* smooth = layer->image.data();
  for (uint64_t i = 0; i < pixels; ++i) {
    const int32_t a = weights[layer->mask[i]];
    if (a == 0) continue;
    for (uint64_t c = i * 3; c < i * 3 + 3; ++c) {
      destination[c] = static_cast<uint8_t>((source[c] * (256 - a) + smooth[c] * a) >> 8);
    }
  }
  return 1;
}

}  // namespace qx
