// A text that repeats over a whole picture, turned and half transparent.
#ifndef QX_PHOTO_DRAWING_WATERMARK_H
#define QX_PHOTO_DRAWING_WATERMARK_H

#include <cstdint>
#include <string>

#include "photo/base/image.h"
#include "photo/drawing/canvas.h"

namespace qx::photo {

struct Watermark {
  std::string text;      // UTF-8, up to kMostWatermarkBytes, of characters that label_font has; not blank
  int32_t size = 20;     // height of an em in pixels, up to kMostWatermarkSize
  double opacity = 0.5;  // 0 (nothing to be seen) to 1
  double angle = 30;     // degrees by which the lines rise to the right, -180 to 180
  Ink ink{128, 128, 128};
  int32_t space = 25;  // pixels between repetitions, along the lines and across, up to kMostWatermarkSpace
};

inline constexpr size_t kMostWatermarkBytes = 200;
inline constexpr int32_t kLeastWatermarkSize = 4, kMostWatermarkSize = 1000, kMostWatermarkSpace = 10'000;

// Throws Failure (kBadOption, field "option": text, size, opacity, angle or space) when one is out of its range, and
// for a text with a character that has no glyph, which it names.
void CheckWatermark(const Watermark& watermark);

// Draws it over the picture, one text in the middle, every other line moved by half a period. Throws Failure as
// CheckWatermark does, the picture untouched.
void DrawWatermark(const Watermark& watermark, Image* picture);

}  // namespace qx::photo

#endif  // QX_PHOTO_DRAWING_WATERMARK_H
