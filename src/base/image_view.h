#ifndef QX_BASE_IMAGE_VIEW_H
#define QX_BASE_IMAGE_VIEW_H

#include <cstddef>
#include <cstdint>

#include "base/buffer.h"

namespace qx {

// An image that somebody else owns: rows top to bottom with no gap, one byte a sample; with 3 channels in the order
// blue, green, red unless told otherwise. A width or height of 0 or below is an empty image.
struct ImageView {
  const uint8_t* pixels = nullptr;
  int32_t width = 0;
  int32_t height = 0;
  int32_t channels = 0;  // 1 or 3

  uint64_t Pixels() const { return ImageBytes(width, height, 1); }
  uint64_t Bytes() const { return ImageBytes(width, height, channels); }
  bool Empty() const { return width <= 0 || height <= 0; }
  // y: 0 to height - 1.
  const uint8_t* Row(int32_t y) const { return pixels + static_cast<size_t>(y) * Stride(); }
  size_t Stride() const { return static_cast<size_t>(width) * static_cast<size_t>(channels); }
};

// The same to be written.
struct MutableImage {
  uint8_t* pixels = nullptr;
  int32_t width = 0;
  int32_t height = 0;
  int32_t channels = 0;

  operator ImageView() const { return {pixels, width, height, channels}; }
  uint64_t Pixels() const { return ImageBytes(width, height, 1); }
  uint64_t Bytes() const { return ImageBytes(width, height, channels); }
  bool Empty() const { return width <= 0 || height <= 0; }
  uint8_t* Row(int32_t y) const { return pixels + static_cast<size_t>(y) * Stride(); }
  size_t Stride() const { return static_cast<size_t>(width) * static_cast<size_t>(channels); }
};

}  // namespace qx

#endif  // QX_BASE_IMAGE_VIEW_H
