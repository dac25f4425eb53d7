// What a person is shown before.
#ifndef QX_PHOTO_RENDER_BACKGROUND_H
#define QX_PHOTO_RENDER_BACKGROUND_H

#include <cstdint>
#include <string_view>

#include "photo/base/image.h"

namespace qx::photo {

struct Colour {
  uint8_t blue = 255, green = 255, red = 255;
};

// One colour, a gradient from the upper to the lower edge or from the middle to the corners, the photograph's own
// background, or none.
struct Background {
  enum class Kind { kKeep, kFill, kTransparent };
  Kind kind = Kind::kFill;
  Colour top, bottom;   // of kFill; equal for one colour; of a radial one the middle's and the corners'
  bool radial = false;  // of kFill
  bool IsKeep() const { return kind == Kind::kKeep; }
  bool IsTransparent() const { return kind == Kind::kTransparent; }
};

// Reads `keep`, `transparent`, a colour (`white` or any other name of CSS Color Module Level 4, `#rgb`, `#rrggbb`,
// letters in either case) `gradient:COLOUR-COLOUR` (top, bottom) or `radial:COLOUR-COLOUR` (middle, corners). Throws
// Failure for anything else.
Background ParseBackground(std::string_view text);

// The colour of a row of a picture of that height, unless it is radial: the first row has the top colour, the last the
// bottom colour, those between are rounded to the nearest.
Colour RowColour(const Background& background, int32_t row, int32_t height);

// Its colours in one picture of width x height pixels, a row after the other; a radial one's go evenly with the
// distance from the middle.
class BackgroundRow {
 public:
  BackgroundRow(const Background& background, int32_t width, int32_t height)
      : background_(background), width_(width), height_(height) {}
  void Start(int32_t row);
  // Of a pixel of the row.
  Colour At(int32_t column) const { return background_.radial ? FromMiddle(column) : colour_; }

 private:
  Colour FromMiddle(int32_t column) const;

  const Background background_;
  const int32_t width_, height_;
  int32_t row_ = 0;
  Colour colour_;
};

// The person before the background: mask / 255 parts of `foreground` and the rest of the background, rounded to the
// nearest; `foreground` itself for kKeep and kTransparent. `foreground`: the person's own colours, see
// EstimateForeground (for kKeep the photograph). Throws Failure when the mask is of another size.
Image Composite(const Image& foreground, const Mask& mask, const Background& background);

}  // namespace qx::photo

#endif  // QX_PHOTO_RENDER_BACKGROUND_H
