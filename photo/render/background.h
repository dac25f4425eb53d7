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

// One colour, a gradient from the upper to the lower edge, the photograph's own background, or none.
struct Background {
  enum class Kind { kKeep, kFill, kTransparent };
  Kind kind = Kind::kFill;
  Colour top, bottom;  // of kFill; equal for one colour
  bool IsKeep() const { return kind == Kind::kKeep; }
  bool IsTransparent() const { return kind == Kind::kTransparent; }
};

// Reads `keep`, `transparent`, a colour (`white` or any other name of CSS Color Module Level 4, `#rgb`, `#rrggbb`,
// letters in either case) or `gradient:COLOUR-COLOUR` (top, bottom). Throws Failure for anything else.
Background ParseBackground(std::string_view text);

// The colour of a row of a picture of that height: the first row has the top colour, the last the bottom colour, those
// between are rounded to the nearest.
Colour RowColour(const Background& background, int32_t row, int32_t height);

// The person before the background: mask / 255 parts of `foreground` and the rest of the background, rounded to the
// nearest; `foreground` itself for kKeep and kTransparent. `foreground`: the person's own colours, see
// EstimateForeground (for kKeep the photograph). Throws Failure when the mask is of another size.
Image Composite(const Image& foreground, const Mask& mask, const Background& background);

}  // namespace qx::photo

#endif  // QX_PHOTO_RENDER_BACKGROUND_H
