// Pictures in somebody else's memory.
#ifndef QX_PHOTO_BASE_PIXEL_VIEW_H
#define QX_PHOTO_BASE_PIXEL_VIEW_H

#include <cstddef>
#include <cstdint>

#include "photo/base/image.h"

namespace qx::photo {

// How the three samples of a pixel lie.
enum class ChannelOrder { kBgr, kRgb };

// An 8-bit colour picture in sRGB, rows top to bottom without gaps, which is read where it lies. Whoever hands one over
// keeps its memory, unchanged, for as long as it is read.
struct PixelView {
  // An Image serves wherever a view does.
  PixelView(const Image& image)  // NOLINT(google-explicit-constructor)
      : samples(image.bgr.data()), width(image.width), height(image.height) {}
  PixelView(const uint8_t* from, int32_t w, int32_t h, ChannelOrder channels)
      : samples(from), width(w), height(h), order(channels) {}

  size_t Pixels() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }
  const uint8_t* At(int32_t x, int32_t y) const {
    return samples + 3 * (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x));
  }

  const uint8_t* samples;  // height * width * 3
  int32_t width, height;
  ChannelOrder order = ChannelOrder::kBgr;
};

// Samples of that many pixels from one order into the other; `from` and `to` may be the same memory, and else lie
// apart.
void SwapChannels(const uint8_t* from, uint8_t* to, size_t pixels);

// A picture whose samples were taken from a view as they lay there, into the order of an Image.
void ToBgr(ChannelOrder order, Image* picture);

Image CopyOf(const PixelView& view);

}  // namespace qx::photo

#endif  // QX_PHOTO_BASE_PIXEL_VIEW_H
