#include "photo/base/photo_source.h"

#include <algorithm>
#include <utility>

#include "photo/base/resize.h"

namespace qx::photo {
namespace {

// Means of squares of `factor` pixels a side; what is left over at the right and lower edge is left out.
Image ReduceByMeans(const PixelView& image, int32_t factor) {
  Image reduced(image.width / factor, image.height / factor);
  const auto samples = static_cast<size_t>(reduced.width) * 3;
  std::vector<uint32_t> sums(samples);
  const auto area = static_cast<uint32_t>(factor) * static_cast<uint32_t>(factor);
  for (int32_t y = 0; y < reduced.height; ++y) {
    std::fill(sums.begin(), sums.end(), area / 2);
    for (int32_t k = 0; k < factor; ++k) {
      const uint8_t* from = image.At(0, y * factor + k);
      for (int32_t x = 0; x < reduced.width; ++x) {
        uint32_t* sum = &sums[static_cast<size_t>(x) * 3];
        for (int32_t i = 0; i < factor; ++i, from += 3) {
          sum[0] += from[0];
          sum[1] += from[1];
          sum[2] += from[2];
        }
      }
    }
    uint8_t* to = reduced.At(0, y);
    for (size_t i = 0; i < samples; ++i) to[i] = static_cast<uint8_t>(sums[i] / area);
  }
  ToBgr(image.order, &reduced);
  return reduced;
}

}  // namespace

PhotoSource::~PhotoSource() = default;

ViewSource::ViewSource(const PixelView& view) : view_(view) {}
ViewSource::~ViewSource() = default;

Image ViewSource::Overview(int64_t leastPixels) {
  int32_t factor = 1;
  const auto pixels = static_cast<int64_t>(view_.Pixels());
  while (factor < std::min(view_.width, view_.height) &&
         pixels / (int64_t{factor + 1} * (factor + 1)) >= std::max<int64_t>(leastPixels, 1)) {
    ++factor;
  }
  return factor == 1 ? CopyOf(view_) : ReduceByMeans(view_, factor);
}

Image ViewSource::Part(const PixelBox& box, int32_t width, int32_t height) {
  const Rectangle part{static_cast<double>(box.left), static_cast<double>(box.top), static_cast<double>(box.Width()),
                       static_cast<double>(box.Height())};
  if (width != box.Width() || height != box.Height()) return ResizeLanczos(view_, part, width, height);
  Image copy(width, height);
  for (int32_t y = 0; y < height; ++y) {
    std::copy_n(view_.At(box.left, box.top + y), static_cast<size_t>(width) * 3, copy.At(0, y));
  }
  ToBgr(view_.order, &copy);
  return copy;
}

ImageSource::ImageSource(Image image) : image_(std::move(image)) {}
ImageSource::~ImageSource() = default;

Image ImageSource::Overview(int64_t leastPixels) {
  return ViewSource(image_).Overview(leastPixels);
}

Image ImageSource::Part(const PixelBox& box, int32_t width, int32_t height) {
  return ViewSource(image_).Part(box, width, height);
}

}  // namespace qx::photo
