#include "photo/person/outline.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "photo/base/geometry.h"
#include "photo/person/guided_filter.h"
#include "photo/person/region.h"

namespace qx::photo {
namespace {

PixelBox Widened(const PixelBox& box, int margin, const Raster& within) {
  return {std::max(0, box.left - margin), std::max(0, box.top - margin), std::min(within.width, box.right + margin),
          std::min(within.height, box.bottom + margin)};
}

Raster Cut(const Raster& source, const PixelBox& box) {
  Raster part(box.right - box.left, box.bottom - box.top, source.channels);
  for (int y = box.top; y < box.bottom; ++y) {
    std::copy_n(source.At(box.left, y), part.width * part.channels, part.At(0, y - box.top));
  }
  return part;
}

// What decides about a pixel, in the map's grid: the filter's line over the colours, and the distance from the outline.
constexpr int kChannels = 5;

float Alpha(const float* decision, const float* colours, const OutlineFilter& filter) {
  const float filtered = decision[0] * colours[0] + decision[1] * colours[1] + decision[2] * colours[2] + decision[3];
  const float alpha = (filtered - 0.5f) * filter.contrast + 0.5f;
  const float least = (decision[4] - 0.6f * filter.band) / (0.4f * filter.band);
  const float most = (decision[4] + filter.band) / (0.4f * filter.band);
  return std::clamp(std::min(std::max(alpha, least), most), 0.0f, 1.0f);
}

class Outline {
 public:
  Outline(const Raster& map, const Raster& colours, const OutlineFilter& filter)
      : map_(map), colours_(colours), filter_(filter), distance_(SignedDistance(Above(map, 0.5f))) {}

  // Calls `plain` with every tile that the band does not touch and whether the tile is inside, `outline` with every
  // other.
  template <typename Plain, typename Passed>
  void ForTiles(Plain plain, Passed outline) const {
    constexpr int kTile = 128;
    for (int y = 0; y < map_.height; y += kTile) {
      for (int x = 0; x < map_.width; x += kTile) {
        const PixelBox tile{x, y, std::min(map_.width, x + kTile), std::min(map_.height, y + kTile)};
        if (Touches(tile)) {
          outline(tile);
        } else {
          plain(tile, *distance_.At(x, y) > 0);
        }
      }
    }
  }

  Raster Decisions(const PixelBox& box) const {
    const PixelBox wide = Widened(box, 2 * filter_.radius, map_);
    const Raster lines =
        GuidedFilterCoefficients(Cut(colours_, wide), Cut(map_, wide), filter_.radius, filter_.epsilon);
    Raster decisions(box.right - box.left, box.bottom - box.top, kChannels);
    for (int y = box.top; y < box.bottom; ++y) {
      for (int x = box.left; x < box.right; ++x) {
        float* to = decisions.At(x - box.left, y - box.top);
        std::copy_n(lines.At(x - wide.left, y - wide.top), 4, to);
        to[4] = *distance_.At(x, y);
      }
    }
    return decisions;
  }

 private:
  bool Touches(const PixelBox& tile) const {
    for (int y = tile.top; y < tile.bottom; ++y) {
      const float* row = distance_.At(0, y);
      if (std::any_of(row + tile.left, row + tile.right, [&](float d) { return std::abs(d) < filter_.band; })) {
        return true;
      }
    }
    return false;
  }

  const Raster& map_;
  const Raster& colours_;
  const OutlineFilter& filter_;
  Raster distance_;
};

}  // namespace

Raster FilterOutline(const Raster& map, const Raster& colours, const OutlineFilter& filter) {
  const Outline outline(map, colours, filter);
  Raster result(map.width, map.height, 1);
  outline.ForTiles(
      [&](const PixelBox& tile, bool inside) {
        for (int y = tile.top; y < tile.bottom; ++y) {
          std::fill(result.At(tile.left, y), result.At(tile.left, y) + (tile.right - tile.left), inside ? 1.0f : 0.0f);
        }
      },
      [&](const PixelBox& tile) {
        const Raster decisions = outline.Decisions(tile);
        for (int y = tile.top; y < tile.bottom; ++y) {
          for (int x = tile.left; x < tile.right; ++x) {
            *result.At(x, y) = Alpha(decisions.At(x - tile.left, y - tile.top), colours.At(x, y), filter);
          }
        }
      });
  return result;
}

Mask FilterOutline(const Raster& map, const Raster& colours, const OutlineFilter& filter, const Image& picture,
                   const Rectangle& window) {
  const Outline outline(map, colours, filter);
  Mask mask(picture.width, picture.height);
  const double toX = window.width / picture.width, toY = window.height / picture.height;
  // The first pixel that belongs to the tile which begins at `at`; the outermost tiles hold what is outside.
  auto first = [](int at, int end, double start, double scale, int pixels) {
    if (at == 0) return 0;
    if (at == end) return pixels;
    return static_cast<int>(std::clamp(std::floor((at - start) / scale), 0.0, double{1} * pixels));
  };
  auto column = [&](int x) { return first(x, map.width, window.left, toX, picture.width); };
  auto row = [&](int y) { return first(y, map.height, window.top, toY, picture.height); };
  auto scaled = [&](const PixelBox& tile) {
    return PixelBox{column(tile.left), row(tile.top), column(tile.right), row(tile.bottom)};
  };
  outline.ForTiles(
      [&](const PixelBox& tile, bool inside) {
        const PixelBox target = scaled(tile);
        for (int y = target.top; y < target.bottom; ++y) {
          std::fill(mask.Row(y) + target.left, mask.Row(y) + target.right, inside ? 255 : 0);
        }
      },
      [&](const PixelBox& tile) {
        const PixelBox target = scaled(tile), box = Widened(tile, 1, map);  // the interpolation reads one more
        if (target.Width() <= 0 || target.Height() <= 0) return;
        const Raster decisions = outline.Decisions(box);
        for (int y = target.top; y < target.bottom; ++y) {
          for (int x = target.left; x < target.right; ++x) {
            float decision[kChannels], pixel[3];
            Sample(decisions, window.left + (x + 0.5) * toX - box.left, window.top + (y + 0.5) * toY - box.top,
                   decision);
            for (size_t c = 0; c < 3; ++c) pixel[c] = static_cast<float>(picture.At(x, y)[c]) / 255;
            mask.Row(y)[x] = static_cast<uint8_t>(Alpha(decision, pixel, filter) * 255 + 0.5f);
          }
        }
      });
  return mask;
}

}  // namespace qx::photo
