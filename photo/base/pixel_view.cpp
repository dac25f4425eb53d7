#include "photo/base/pixel_view.h"

#include <algorithm>

namespace qx::photo {

void SwapChannels(const uint8_t* from, uint8_t* to, size_t pixels) {
  for (const uint8_t* const end = from + pixels * 3; from != end; from += 3, to += 3) {
    const uint8_t first = from[0], last = from[2];
    to[0] = last;
    to[1] = from[1];
    to[2] = first;
  }
}

void ToBgr(ChannelOrder order, Image* picture) {
  if (order == ChannelOrder::kRgb) SwapChannels(picture->bgr.data(), picture->bgr.data(), picture->Pixels());
}

Image CopyOf(const PixelView& view) {
  Image image(view.width, view.height);
  if (view.order == ChannelOrder::kRgb) {
    SwapChannels(view.samples, image.bgr.data(), image.Pixels());
  } else {
    std::copy_n(view.samples, image.bgr.size(), image.bgr.data());
  }
  return image;
}

}  // namespace qx::photo
