// Grey images: the caller's photograph, reductions of it, and squares cut out of it.
#ifndef QX_ENGINE_IMAGE_H
#define QX_ENGINE_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "engine/geometry.h"

namespace qx::face {

// The caller's pixels: rows top to bottom with no gap. Width and height are 1 or above.
struct GreyView {
  const uint8_t* pixels = nullptr;
  int width = 0;
  int height = 0;
};

// An image of its own, values 0 to 255.
struct GreyImage {
  int width = 0;
  int height = 0;
  std::vector<float> values;

  float At(int x, int y) const {
    return values[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
  }
};

// A rectangle of whole pixels.
struct PixelRect {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
};

// Mean of the area that each new pixel covers. The rectangle lies inside the image; width and height are 1 or above
// and not above the rectangle's.
GreyImage ShrinkArea(const GreyView& image, const PixelRect& rect, int width, int height);

// Scales so that the longer side is `longSide` pixels: area means when that is smaller, bilinear when it is larger.
GreyImage ScaleToLongSide(const GreyView& image, int longSide);

// Samples a turned square as size x size values at the centres of its cells, row-major. Outside of the image the
// nearest border pixel counts. The image is reduced first where the square is larger than `size` pixels.
void SampleRegion(const GreyView& image, const Region& region, int size, float* values);

}  // namespace qx::face

#endif  // QX_ENGINE_IMAGE_H
