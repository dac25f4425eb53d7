#ifndef QX_BEAUTY_SPOTS_SPOT_EDGES_H
#define QX_BEAUTY_SPOTS_SPOT_EDGES_H

#include <cstdint>

#include "base/buffer.h"
#include "base/image_view.h"
#include "base/status.h"

namespace qx {

// Columns left to right - 1 and rows top to bottom - 1 of an image.
struct Window {
  int32_t left = 0, top = 0, right = 0, bottom = 0;

  size_t Width() const { return static_cast<size_t>(right - left); }
  size_t Height() const { return static_cast<size_t>(bottom - top); }
};

// One byte for each pixel of a window, addressed by positions in the image.
struct WindowPlane {
  Window window;
  ByteBuffer bytes;

  bool Allocate(const Window& w) {
    window = w;
    return bytes.Allocate(ImageBytes(w.right - w.left, w.bottom - w.top, 1));
  }
  // The row's byte of column x is at [x - window.left].
  uint8_t* Row(int32_t y) { return bytes.data() + static_cast<size_t>(y - window.top) * window.Width(); }
  const uint8_t* Row(int32_t y) const { return bytes.data() + static_cast<size_t>(y - window.top) * window.Width(); }
  uint8_t At(int32_t x, int32_t y) const { return Row(y)[x - window.left]; }
};

// Grey and edges of the part of an image that a search for spots looks at.
struct SpotEdges {
  WindowPlane grey;   // lightly smoothed
  WindowPlane edges;  // 255 next to edges of middling strength, else 0; the same window
};

// Finds the edges whose strength lies between the 86th and the 98th hundredth of the face's own. image: of three
// channels. face: where strengths are counted, not empty, inside `wanted`; wanted: what is looked at later, inside the
// image. The planes reach a little farther, where they are not exact. kOk or kMemoryShort.
Status BuildSpotEdges(const ImageView& image, const Window& face, const Window& wanted, SpotEdges* result);

}  // namespace qx

#endif  // QX_BEAUTY_SPOTS_SPOT_EDGES_H
