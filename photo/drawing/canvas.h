// A picture to draw on.
#ifndef QX_PHOTO_DRAWING_CANVAS_H
#define QX_PHOTO_DRAWING_CANVAS_H

#include <cstdint>
#include <utility>

#include "photo/base/geometry.h"
#include "photo/base/image.h"

namespace qx::photo {

// Colours in the order of an Image's.
struct Ink {
  uint8_t blue, green, red;
};

inline constexpr int kDigitWidth = 5, kDigitHeight = 7;  // of Number's digits, at size 1

// Everything is clipped to the picture.
class Canvas {
 public:
  // One colour.
  Canvas(int32_t width, int32_t height, Ink ink);
  // A copy of the photograph, enlarged by a whole factor: each pixel becomes a square.
  Canvas(const Image& photograph, int factor);

  int32_t Width() const { return image_.width; }
  int32_t Height() const { return image_.height; }

  void Paste(const Image& picture, int32_t left, int32_t top);
  // `share` of 256 parts of a pixel of the canvas become the ink's.
  void Mix(int32_t x, int32_t y, Ink ink, int share);
  // The same for all pixels of a box.
  void Fill(const PixelBox& box, Ink ink, int share = 256);
  // A square of side 2 * radius + 1 around a place.
  void Dot(Point at, int radius, Ink ink);
  void Line(Point from, Point to, int radius, Ink ink);
  // An antialiased line with round ends, places as a PlacePoint's; nothing for places that are no numbers.
  void Stroke(PlacePoint from, PlacePoint to, double width, Ink ink);
  // The rim of a circle.
  void Ring(PlacePoint centre, double radius, double width, Ink ink);
  // Digits of `size` times 5 x 7 pixels with a black rim of `size` pixels.
  void Number(int left, int top, int number, int size, Ink ink);

  Image Take() { return std::move(image_); }

 private:
  // The canvas's pixels that the box touches.
  PixelBox Covered(double left, double top, double right, double bottom) const;
  // A pixel at some distance from the middle of a line.
  void Soft(int32_t x, int32_t y, double distance, double width, Ink ink);
  void Digit(int left, int top, int digit, int size, bool rim, Ink ink);

  Image image_;
};

}  // namespace qx::photo

#endif  // QX_PHOTO_DRAWING_CANVAS_H
