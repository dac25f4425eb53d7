// Where photographs stand on a sheet of paper, and where it is cut. No pixel is touched here.
#ifndef QX_PHOTO_SHEET_LAYOUT_H
#define QX_PHOTO_SHEET_LAYOUT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "photo/base/geometry.h"
#include "photo/document/units.h"

namespace qx::photo {

struct SheetSpec {
  Size paper;           // in millimetres; both ways round are tried
  double marginMm = 3;  // kept free along the edges of the paper, 0 or above
  double gapMm = 2;     // between photographs, 0 or above
  int32_t dpi = 300;    // of the sheet
};

// Photographs that are all of one size.
struct TileKind {
  std::string name;          // for messages
  int32_t width = 0;         // pixels of the sheet
  int32_t height = 0;        // pixels of the sheet
  std::optional<int> count;  // none: as many as there is room for
};

struct Tile {
  size_t kind = 0;  // index into the kinds
  PixelBox place;
};

struct SheetLayout {
  int32_t width = 0;  // of the paper as it lies, in pixels
  int32_t height = 0;
  std::vector<Tile> tiles;
  // Thin marks that continue the edges of the photographs outwards; none touches a photograph.
  std::vector<PixelBox> ticks;
};

inline constexpr int kMaxTiles = 1000;  // on a sheet, of all kinds together

// Puts the photographs onto shelves, the tallest first, each on the first shelf with room for it (first-fit decreasing
// height, Coffman, Garey, Johnson and Tarjan 1980), and the block of shelves into the middle of the paper. The paper
// lies the way that takes more photographs, as named if both take the same. Kinds with a count come first; the others
// share what is left in turns, each at least once. Every edge is rounded to a pixel by itself, from its exact place.
// Throws Failure, with the numbers, when something does not fit.
SheetLayout LayOutSheet(const SheetSpec& spec, const std::vector<TileKind>& kinds);

}  // namespace qx::photo

#endif  // QX_PHOTO_SHEET_LAYOUT_H
