// Scattered colours spread over a whole raster.
#ifndef QX_PHOTO_PERSON_PYRAMID_H
#define QX_PHOTO_PERSON_PYRAMID_H

#include <cstddef>
#include <vector>

#include "photo/base/image.h"

namespace qx::photo {

// Blue, green, red and a fourth value, which the processor takes at once.
using Pixel = float __attribute__((vector_size(16)));

// Rows top to bottom without gaps. Unfilled at first.
struct Field {
  Field() = default;
  Field(int w, int h) : width(w), height(h), pixels(static_cast<size_t>(w) * static_cast<size_t>(h)) {}
  Pixel* Row(int y) { return pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(width); }
  const Pixel* Row(int y) const { return pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(width); }

  int width = 0, height = 0;
  std::vector<Pixel, UnfilledAllocator<Pixel>> pixels;
};

// What is known of a raster: colours times their weights and the weight (0 to 1) of each pixel, and the mean square of
// the three colours, times the weight.
struct Scattered {
  Scattered() = default;
  Scattered(int w, int h) : sums(w, h), squares(sums.pixels.size()) {}

  Field sums;
  Floats squares;
};

// Colours everywhere: those of the pixels themselves where they are known, else averages over windows of 2, 4, 8 ...
// pixels, each filling what the narrower ones could not (S. Gortler et al., "The Lumigraph", 1996: push and pull). The
// fourth value is the variance of the colours that were averaged, the mean of the three. All zeros where nothing is
// known at all. What `filled` holds is overwritten.
void FillGaps(const Scattered& known, Field* filled);

// A field brought to twice its size, between its pixels, whole rows at a time.
class FieldRow {
 public:
  // `width`: twice the field's or one less.
  FieldRow(const Field& field, int width);
  // The row of the larger raster, filled from the column `begin` to `end` (not included). Valid until the next call.
  const Pixel* At(int y, int begin, int end);
  const Pixel* At(int y) { return At(y, 0, static_cast<int>(row_.size())); }

 private:
  const Field& field_;
  std::vector<Pixel, UnfilledAllocator<Pixel>> line_, row_;
};

// One pixel of such a row.
Pixel Doubled(const Field& field, int x, int y);

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_PYRAMID_H
