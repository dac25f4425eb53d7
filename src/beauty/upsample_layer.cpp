#include "beauty/upsample_layer.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "base/buffer.h"

namespace qx {
namespace {

// The value of a block's left half and of its right half, for each channel.
struct Halves {
  uint8_t left[3], right[3];
};

void Write(const Halves& halves, size_t columns, uint8_t* out) {
  uint8_t block[12];
  for (size_t c = 0; c < 3; ++c) {
    block[c] = block[3 + c] = halves.left[c];
    block[6 + c] = block[9 + c] = halves.right[c];
  }
  std::memcpy(out, block, columns * 3);
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

}  // namespace

void UpsampleLayer(const uint8_t* small, int32_t width, int32_t height, uint8_t* image) {
  const auto smallWidth = static_cast<size_t>(width / 4), smallHeight = static_cast<size_t>(height / 4);
  const auto columns = static_cast<size_t>(width), rows = static_cast<size_t>(height), stride = columns * 3;
  for (size_t y = 0; y < rows; ++y) {
    uint8_t* out = image + y * stride;
    if (y % 2 == 1) {
      std::memcpy(out, out - stride, stride);
      continue;
    }
    const size_t here = std::min(y / 4, smallHeight - 1), next = std::min(here + 1, smallHeight - 1);
    const uint8_t* upper = small + here * smallWidth * 3;
    const uint8_t* lower = y % 4 == 0 ? nullptr : small + next * smallWidth * 3;
    UpsampleRow(upper, lower, smallWidth, columns, out);
  }
}

}  // namespace qx
