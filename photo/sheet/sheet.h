// Photographs printed side by side at their true size.
#ifndef QX_PHOTO_SHEET_SHEET_H
#define QX_PHOTO_SHEET_SHEET_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "photo/base/image.h"
#include "photo/sheet/layout.h"

namespace qx::photo {

struct SheetPhotograph {
  std::string name;  // printable, for messages
  Image image;
  PrintResolution resolution;  // with the image's size in pixels gives its size in millimetres
  std::optional<int> copies;   // none: as many as there is room for
};

inline constexpr int32_t kLowestSheetDpi = 50;
inline constexpr int32_t kHighestSheetDpi = 2400;
inline constexpr int64_t kMostSheetPixels = 700'000'000;  // times three bytes still fits an int32

// The highest resolution of the photographs, so that none loses pixels, as a whole number. Throws Failure when it is
// out of range.
int32_t OwnDpi(const std::vector<SheetPhotograph>& photographs);

// Where each photograph goes, at its true size. Throws Failure when they do not fit or the sheet would be too large.
SheetLayout LayOutPhotographs(const SheetSpec& spec, const std::vector<SheetPhotograph>& photographs);

// Brings photographs that fit to the sheet's resolution, which leaves their millimetres as they are: one that has as
// many pixels as it needs is not touched, the others are resampled (Lanczos, three lobes). Throws Failure.
std::vector<Image> ScaleToSheet(const std::vector<SheetPhotograph>& photographs, int32_t dpi);

// White paper, grey ticks, and the pictures (from ScaleToSheet) copied to their places.
Image DrawSheet(const SheetLayout& layout, const std::vector<Image>& pictures);

}  // namespace qx::photo

#endif  // QX_PHOTO_SHEET_SHEET_H
