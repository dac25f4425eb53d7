// Points, rectangles and boxes in a picture.
#ifndef QX_PHOTO_BASE_GEOMETRY_H
#define QX_PHOTO_BASE_GEOMETRY_H

#include <cstdint>

namespace qx::photo {

struct Point {
  int32_t x, y;  // pixels of the photograph
};

// In pixels of a picture, whose upper left corner is (0, 0); the centre of its first pixel lies at (0.5, 0.5). May
// reach outside.
struct Rectangle {
  double left = 0, top = 0, width = 0, height = 0;
  double Right() const { return left + width; }
  double Bottom() const { return top + height; }
  bool operator==(const Rectangle& o) const {
    return left == o.left && top == o.top && width == o.width && height == o.height;
  }
};

// A place in a picture, counted as a Rectangle's sides are.
struct PlacePoint {
  double x = 0, y = 0;
};

double Distance(PlacePoint a, PlacePoint b);
PlacePoint Middle(PlacePoint a, PlacePoint b);

// A turn of a picture by an angle about a point that stays where it is.
class Turn {
 public:
  Turn() = default;  // none
  // Clockwise by that many degrees.
  Turn(double degrees, PlacePoint centre);

  bool IsNone() const { return sin_ == 0; }
  double Cos() const { return cos_; }
  double Sin() const { return sin_; }
  // Where a place of the picture comes to lie, and what lies at a place of the turned picture.
  PlacePoint operator()(PlacePoint p) const;
  PlacePoint Back(PlacePoint p) const;

 private:
  double cos_ = 1, sin_ = 0;
  PlacePoint centre_;
};

// Whole pixels; right and bottom are past the last one.
struct PixelBox {
  int32_t left = 0, top = 0, right = 0, bottom = 0;
  int32_t Width() const { return right - left; }
  int32_t Height() const { return bottom - top; }
  bool operator==(const PixelBox& o) const {
    return left == o.left && top == o.top && right == o.right && bottom == o.bottom;
  }
};

// Where a face lies in an upright photograph, in pixels: from above the eyebrows to the chin, about square.
struct FaceBox {
  double left = 0, top = 0, right = 0, bottom = 0;
  double Width() const { return right - left; }
};

}  // namespace qx::photo

#endif  // QX_PHOTO_BASE_GEOMETRY_H
