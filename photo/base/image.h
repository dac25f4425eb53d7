// Pictures and masks in memory.
#ifndef QX_PHOTO_BASE_IMAGE_H
#define QX_PHOTO_BASE_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace qx::photo {

// Leaves elements that a resize adds unfilled: large buffers are about to be overwritten, and filling them first costs
// as much time as many a stage.
template <typename Value>
struct UnfilledAllocator : std::allocator<Value> {
  template <typename Other>
  struct rebind {
    using other = UnfilledAllocator<Other>;
  };
  template <typename Element>
  void construct(Element* place) noexcept {
    ::new (static_cast<void*>(place)) Element;
  }
  template <typename Element, typename Given>
  void construct(Element* place, Given&& value) {
    ::new (static_cast<void*>(place)) Element(static_cast<Element>(std::forward<Given>(value)));
  }
};

using Bytes = std::vector<uint8_t, UnfilledAllocator<uint8_t>>;
using Floats = std::vector<float, UnfilledAllocator<float>>;

// An 8-bit colour picture in sRGB: three bytes a pixel in the order blue, green, red, rows top to bottom without gaps.
struct Image {
  Image() = default;
  Image(int32_t w, int32_t h) : width(w), height(h), bgr(Pixels() * 3) {}  // unfilled
  Image(int32_t w, int32_t h, Bytes samples) : width(w), height(h), bgr(std::move(samples)) {}

  size_t Pixels() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }
  size_t Offset(int32_t x, int32_t y) const {
    return 3 * (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x));
  }
  uint8_t* At(int32_t x, int32_t y) { return bgr.data() + Offset(x, y); }
  const uint8_t* At(int32_t x, int32_t y) const { return bgr.data() + Offset(x, y); }

  int32_t width = 0;
  int32_t height = 0;
  Bytes bgr;  // height * width * 3
};

// How much of each pixel a person covers: 255 person, 0 background, rows top to bottom without gaps.
struct Mask {
  Mask() = default;
  Mask(int32_t w, int32_t h) : width(w), height(h), values(static_cast<size_t>(w) * static_cast<size_t>(h)) {}
  Mask(int32_t w, int32_t h, uint8_t value)
      : width(w), height(h), values(static_cast<size_t>(w) * static_cast<size_t>(h), value) {}

  Mask(int32_t w, int32_t h, Bytes samples) : width(w), height(h), values(std::move(samples)) {}

  uint8_t* Row(int32_t y) { return values.data() + static_cast<size_t>(y) * static_cast<size_t>(width); }
  const uint8_t* Row(int32_t y) const { return values.data() + static_cast<size_t>(y) * static_cast<size_t>(width); }
  bool IsOf(const Image& image) const { return width == image.width && height == image.height; }

  int32_t width = 0;
  int32_t height = 0;
  Bytes values;  // height * width
};

}  // namespace qx::photo

#endif  // QX_PHOTO_BASE_IMAGE_H
