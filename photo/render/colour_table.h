// What an adjustment makes of every colour, as a table to look up.
#ifndef QX_PHOTO_RENDER_COLOUR_TABLE_H
#define QX_PHOTO_RENDER_COLOUR_TABLE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "photo/render/adjust.h"

namespace qx::photo {

// 16 nodes along blue, green and red, 17 levels apart; between them the four corners of a tetrahedron count, which
// keeps greys grey (J. Sakamoto, H. Itooka, "Linear interpolator for color correction", 1981).
class ColourTable {
 public:
  ColourTable(const Adjustment& adjustment, const Cast& cast);

  void Apply(uint8_t* bgr, size_t pixels) const;  // in place

 private:
  // Three sums of 17 parts each fit beside each other: a node holds blue, green and red in 4096 / 17 parts of a level,
  // 21 bits apart.
  std::vector<uint64_t> nodes_;
};

}  // namespace qx::photo

#endif  // QX_PHOTO_RENDER_COLOUR_TABLE_H
