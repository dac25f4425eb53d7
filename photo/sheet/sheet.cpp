#include "photo/sheet/sheet.h"

#include <algorithm>
#include <cmath>

#include "photo/base/failure.h"
#include "photo/base/resize.h"
#include "photo/document/units.h"

namespace qx::photo {
namespace {

constexpr uint8_t kPaper = 255;
constexpr uint8_t kTick = 96;  // seen by whoever cuts, and not as loud as black

struct PixelSize {
  int32_t width, height;
};

// What the photograph takes up on a sheet of that resolution.
PixelSize SizeAt(int32_t dpi, const SheetPhotograph& photograph) {
  auto scaled = [dpi](int32_t pixels, double from) {
    constexpr double kHighest = 1e8;  // larger than any sheet
    return static_cast<int32_t>(std::clamp(std::floor(pixels * (dpi / from) + 0.5), 1.0, kHighest));
  };
  return {scaled(photograph.image.width, photograph.resolution.x),
          scaled(photograph.image.height, photograph.resolution.y)};
}

}  // namespace

int32_t OwnDpi(const std::vector<SheetPhotograph>& photographs) {
  double dpi = 0;
  for (const SheetPhotograph& photograph : photographs) {
    dpi = std::max({dpi, photograph.resolution.x, photograph.resolution.y});
  }
  dpi = std::round(dpi);
  if (dpi < kLowestSheetDpi || dpi > kHighestSheetDpi) {
    throw Failure(FailureCode::kBadOption, "the photographs have " + Decimal(dpi) +
                                               " dpi; choose a resolution between " + Decimal(kLowestSheetDpi) +
                                               " and " + Decimal(kHighestSheetDpi) + " for the sheet");
  }
  return static_cast<int32_t>(dpi);
}

SheetLayout LayOutPhotographs(const SheetSpec& spec, const std::vector<SheetPhotograph>& photographs) {
  const int64_t width = ToPixels(spec.paper.width, spec.dpi), height = ToPixels(spec.paper.height, spec.dpi);
  if (width * height > kMostSheetPixels) {
    throw Failure(FailureCode::kTooLarge, "the sheet would be " + std::to_string(width) + " x " +
                                              std::to_string(height) +
                                              " pixels; choose a lower resolution or smaller paper");
  }
  std::vector<TileKind> kinds;
  for (const SheetPhotograph& photograph : photographs) {
    const PixelSize size = SizeAt(spec.dpi, photograph);
    kinds.push_back({photograph.name, size.width, size.height, photograph.copies});
  }
  return LayOutSheet(spec, kinds);
}

std::vector<Image> ScaleToSheet(const std::vector<SheetPhotograph>& photographs, int32_t dpi) {
  std::vector<Image> pictures;
  for (const SheetPhotograph& photograph : photographs) {
    const Image& image = photograph.image;
    const auto [width, height] = SizeAt(dpi, photograph);
    const bool same = width == image.width && height == image.height;
    const Rectangle all{0, 0, static_cast<double>(image.width), static_cast<double>(image.height)};
    pictures.push_back(same ? image : ResizeLanczos(image, all, width, height));
  }
  return pictures;
}

Image DrawSheet(const SheetLayout& layout, const std::vector<Image>& pictures) {
  Image sheet(layout.width, layout.height);
  std::fill(sheet.bgr.begin(), sheet.bgr.end(), kPaper);
  for (const PixelBox& tick : layout.ticks) {
    for (int32_t y = tick.top; y < tick.bottom; ++y) {
      std::fill_n(sheet.At(tick.left, y), 3 * static_cast<size_t>(tick.Width()), kTick);
    }
  }
  for (const Tile& tile : layout.tiles) {
    const Image& picture = pictures[tile.kind];
    for (int32_t y = 0; y < picture.height; ++y) {
      std::copy_n(picture.At(0, y), 3 * static_cast<size_t>(picture.width),
                  sheet.At(tile.place.left, tile.place.top + y));
    }
  }
  return sheet;
}

}  // namespace qx::photo
