#include "beauty/blend_skin_layer.h"

#include <algorithm>
#include <cstring>

#include "base/number.h"

namespace qx {
namespace {

constexpr double kStrongest = 5.0;
constexpr uint64_t kBlock = 64;  // pixels

// weights: one for each byte.
void Mix(const uint8_t* weights, const uint8_t* source, const uint8_t* smooth, size_t bytes, uint8_t* out) {
  for (size_t i = 0; i < bytes; ++i) {
    // At most 255 * 256.
    const auto sum = static_cast<uint16_t>(source[i] * (256 - weights[i]) + smooth[i] * weights[i]);
    out[i] = static_cast<uint8_t>(sum >> 8);
  }
}

// weights: by mask value, 0 for 0.
void BlendBlock(const uint8_t* weights, const uint8_t* mask, const uint8_t* source, const uint8_t* smooth, size_t count,
                uint8_t* out) {
  uint8_t any = 0;
  for (size_t k = 0; k < count; ++k) any = static_cast<uint8_t>(any | mask[k]);
  if (any == 0) {
    std::memcpy(out, source, count * 3);
    return;
  }
  uint8_t spread[kBlock * 3];
  for (size_t k = 0; k < count; ++k) {
    const uint8_t weight = weights[mask[k]];
    spread[k * 3] = spread[k * 3 + 1] = spread[k * 3 + 2] = weight;
  }
  Mix(spread, source, smooth, count * 3, out);
}

}  // namespace

int BlendSkinLayer(const SkinLayer* layer, const uint8_t* source, int32_t width, int32_t height, double strength,
                   uint8_t* destination) {
  const bool refused = layer == nullptr || !layer->image || !layer->mask ||
                       !(strength >= 0 && strength <= kStrongest) || width < 0 || height < 0;
  const uint64_t pixels = ImageBytes(width, height, 1);
  if (refused || strength == 0) {
    std::memcpy(destination, source, pixels * 3);
    return refused ? -1 : 1;
  }
  uint8_t weights[256];
  for (int v = 0; v < 256; ++v) weights[v] = static_cast<uint8_t>(std::min(TruncToInt32(v * strength) >> 1, 255));
  for (uint64_t i = 0; i < pixels; i += kBlock) {
    const auto count = static_cast<size_t>(std::min(kBlock, pixels - i));
    BlendBlock(weights, layer->mask.data() + i, source + i * 3, layer->image.data() + i * 3, count,
               destination + i * 3);
  }
  return 1;
}

}  // namespace qx
