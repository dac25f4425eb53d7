#include "beauty/skin/skin_layer.h"

#include <algorithm>
#include <cstring>

#include "base/buffer.h"
#include "base/number.h"

namespace qx {
namespace {

// The value of a block's left half and of its right half, for each channel.
struct Halves {
  uint8_t left[3], right[3];
};

void Write(const Halves& halves, size_t width, uint8_t* out) {
  uint8_t block[12];
  for (size_t c = 0; c < 3; ++c) {
    block[c] = block[3 + c] = halves.left[c];
    block[6 + c] = block[9 + c] = halves.right[c];
  }
  std::memcpy(out, block, width * 3);
}

// One row of the upper halves (lower null) or of the lower halves of the blocks.
void UpsampleRow(const uint8_t* upper, const uint8_t* lower, size_t smallWidth, size_t width, uint8_t* out) {
  for (size_t x = 0; x < width; x += 4) {
    const size_t here = std::min(x / 4, smallWidth - 1), next = std::min(here + 1, smallWidth - 1);
    const uint8_t *p = upper + here * 3, *r = upper + next * 3;
    Halves halves;
    for (size_t c = 0; c < 3; ++c) {
      if (lower == nullptr) {
        halves.left[c] = p[c];
        halves.right[c] = static_cast<uint8_t>((p[c] + r[c]) >> 1);
      } else {
        const uint8_t b = lower[here * 3 + c], d = lower[next * 3 + c];
        halves.left[c] = static_cast<uint8_t>((p[c] + b) >> 1);
        halves.right[c] = static_cast<uint8_t>((p[c] + r[c] + b + d) >> 2);
      }
    }
    if (width - x >= 4) {
      Write(halves, 4, out + x * 3);
    } else {
      Write(halves, width - x, out + x * 3);
    }
  }
}

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

void UpsampleLayer(const uint8_t* small, const MutableImage& image) {
  const auto smallWidth = static_cast<size_t>(image.width / 4);
  const auto smallHeight = static_cast<size_t>(image.height / 4);
  const auto width = static_cast<size_t>(image.width), height = static_cast<size_t>(image.height);
  const size_t stride = image.Stride();
  for (size_t y = 0; y < height; ++y) {
    uint8_t* out = image.pixels + y * stride;
    if (y % 2 == 1) {
      std::memcpy(out, out - stride, stride);
      continue;
    }
    const size_t here = std::min(y / 4, smallHeight - 1), next = std::min(here + 1, smallHeight - 1);
    const uint8_t* upper = small + here * smallWidth * 3;
    const uint8_t* lower = y % 4 == 0 ? nullptr : small + next * smallWidth * 3;
    UpsampleRow(upper, lower, smallWidth, width, out);
  }
}

Status BlendSkinLayer(const SkinLayer* layer, const ImageView& source, double strength, uint8_t* destination) {
  const bool refused = layer == nullptr || !layer->image || !layer->mask ||
                       !(strength >= 0 && strength <= kStrongest) || source.width < 0 || source.height < 0;
  const uint64_t pixels = source.Pixels();
  if (refused || strength == 0) {
    CopyBytes(destination, source.pixels, pixels * 3);
    return refused ? Status::kBadArgument : Status::kOk;
  }
  uint8_t weights[256];
  for (int v = 0; v < 256; ++v) weights[v] = static_cast<uint8_t>(std::min(TruncToInt32(v * strength) >> 1, 255));
  for (uint64_t i = 0; i < pixels; i += kBlock) {
    const auto count = static_cast<size_t>(std::min(kBlock, pixels - i));
    BlendBlock(weights, layer->mask.data() + i, source.pixels + i * 3, layer->image.data() + i * 3, count,
               destination + i * 3);
  }
  return Status::kOk;
}

}  // namespace qx
