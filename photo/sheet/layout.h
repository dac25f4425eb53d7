// Where photographs stand on a sheet of paper, and where it is cut. No pixel is touched here.
#ifndef QX_PHOTO_SHEET_LAYOUT_H
#define QX_PHOTO_SHEET_LAYOUT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

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

struct PixelRect {
  int32_t left = 0, top = 0, width = 0, height = 0;
};

struct Tile {
  size_t kind = 0;  // index into the kinds
  PixelRect place;
};

struct SheetLayout {
  int32_t width = 0;  // of the paper as it lies, in pixels
  int32_t height = 0;
  std::vector<Tile> tiles;
  // Thin marks that continue the edges of the photographs outwards; none touches a photograph.
  std::vector<PixelRect> ticks;
};

inline constexpr int kMaxTiles = 1000;

// "A4" (A3 to A7), "letter", "4x6" (inches: 3.5x5, 4x6, 5x7, 6x8, 8x10 in either order) or any size with its unit:
// "10x15cm", "100x150mm", "4x6in". Throws Failure.
Size ParsePaper(const std::string& text);

// Puts the photographs onto shelves, the tallest first, each on the first shelf with room for it (first-fit decreasing
// height, Coffman, Garey, Johnson and Tarjan 1980), and the block of shelves into the middle of the paper. The paper
// lies the way that takes more photographs, as named if both take the same. Kinds with a count come first; the others
// share what is left in turns, each at least once. Every edge is rounded to a pixel by itself, from its exact place.
// Throws Failure, with the numbers, when something does not fit.
SheetLayout LayOutSheet(const SheetSpec& spec, const std::vector<TileKind>& kinds);

}  // namespace qx::photo

#endif  // QX_PHOTO_SHEET_LAYOUT_H
