#include "photo/person/outline.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "photo/person/guided_filter.h"
#include "photo/person/region.h"

namespace qx::photo {
namespace {

// Where the picture's columns or rows lie in the map: between the centres of two of its pixels, or at the outermost.
struct Axis {
  Axis(double start, double length, int pixels, int mapPixels) : size(mapPixels) {
    for (int i = 0; i < pixels; ++i) {
      const double at = std::clamp(start + (i + 0.5) * length / pixels - 0.5, 0.0, mapPixels - 1.0);
      before.push_back(static_cast<int>(at));
      fraction.push_back(static_cast<float>(at - before.back()));
    }
  }

  // The map's pixels that the picture lies between.
  int First() const { return before.front(); }
  int End() const { return std::min(before.back() + 2, size); }
  // The first of the picture's pixels that lies at or after one of the map's.
  int FirstAt(int mapPixel) const {
    return static_cast<int>(std::lower_bound(before.begin(), before.end(), mapPixel) - before.begin());
  }

  int size;
  std::vector<int> before;
  std::vector<float> fraction;
};

// Boxes of the map in which something is within the band. A pixel of the picture belongs to the box that holds the
// map's pixel before it; the next column and row take part, too.
constexpr int kRows = 64, kColumns = 16, kMostColumns = 240;
static_assert(kMostColumns + 1 <= GuidedFilter::kMostWidth);

class OutlineInPicture {
 public:
  OutlineInPicture(const Mask& map, const Image& colours, const OutlineFilter& filter, const Image& picture,
                   const Rectangle& window)
      : map_(map),
        picture_(picture),
        filter_(filter),
        columns_(window.left, window.width, picture.width, map.width),
        rows_(window.top, window.height, picture.height, map.height),
        guided_(colours, map, filter.radius, filter.epsilon),
        mask_(picture.width, picture.height) {
    const int margin = static_cast<int>(std::ceil(filter.band)) + 1;
    around_ = {std::max(0, columns_.First() - margin), std::max(0, std::min(rows_.First() - margin, FirstRow())),
               std::min(map.width, columns_.End() + margin), std::min(map.height, rows_.End() + margin)};
    distances_ = SignedDistance(AtLeastHalf(map, around_), filter.band);
  }

  Mask Make() {
    FillPlain();
    for (int top = FirstRow(); top < rows_.End(); top += kRows) {
      ForBoxes(top, std::min(top + kRows, rows_.End()), [&](const PixelBox& box) { FilterBox(box); });
    }
    return std::move(mask_);
  }

 private:
  // Boxes begin at the same rows of the map whatever the picture shows of it: the filter's sums run down their rows,
  // and a pixel comes out the same in every picture that holds it.
  int FirstRow() const { return rows_.First() / kRows * kRows; }

  const int16_t* DistanceAt(int x, int y) const {
    return distances_.data() + static_cast<size_t>(y - around_.top) * static_cast<size_t>(around_.Width()) +
           (x - around_.left);
  }

  // All or nothing everywhere, as it is beyond the band.
  void FillPlain() {
    for (int y = 0; y < mask_.height; ++y) {
      const auto row = static_cast<size_t>(y);
      if (y > 0 && rows_.before[row] == rows_.before[row - 1]) {
        std::memcpy(mask_.Row(y), mask_.Row(y - 1), static_cast<size_t>(mask_.width));
        continue;
      }
      const int16_t* distance = DistanceAt(columns_.First(), rows_.before[row]);
      uint8_t* to = mask_.Row(y);
      for (const int column : columns_.before) *to++ = distance[column - columns_.First()] > 0 ? 255 : 0;
    }
  }

  template <typename Visit>
  void ForBoxes(int top, int bottom, Visit visit) const {
    const int first = columns_.First(), end = columns_.End(), last = std::min(bottom + 1, rows_.End());
    std::vector<int> nearest(static_cast<size_t>(end - first), 32767);
    for (int y = std::max(top, rows_.First()); y < last; ++y) {
      const int16_t* distance = DistanceAt(first, y);
      for (size_t x = 0; x < nearest.size(); ++x) nearest[x] = std::min(nearest[x], std::abs(int{distance[x]}));
    }
    const auto band = static_cast<int>(std::ceil(filter_.band * kDistanceUnit));
    PixelBox box{first, top, first, bottom};
    for (int left = first; left < end; left += kColumns) {
      const int right = std::min(left + kColumns, end), until = std::min(right + 1, end);
      const auto* from = nearest.data() + (left - first);
      const bool touched = std::any_of(from, from + (until - left), [&](int distance) { return distance < band; });
      if (touched && box.right == left && right - box.left <= kMostColumns) {
        box.right = right;
      } else if (touched) {
        if (box.Width() > 0) visit(box);
        box.left = left;
        box.right = right;
      }
    }
    if (box.Width() > 0) visit(box);
  }

  // A pixel's share from the planes of the line and the distance.
  uint8_t Share(const float* line, float distance, const uint8_t* bgr) const {
    float filtered = line[3] + 128;
    for (int i = 0; i < 3; ++i) filtered += line[i] * static_cast<float>(bgr[i] - 128);
    const float share = (filtered / 255 - 0.5f) * filter_.contrast + 0.5f;
    const float least = (distance - 0.6f * filter_.band) / (0.4f * filter_.band);
    const float most = (distance + filter_.band) / (0.4f * filter_.band);
    return static_cast<uint8_t>(std::clamp(std::min(std::max(share, least), most), 0.0f, 1.0f) * 255 + 0.5f);
  }

  void FilterBox(const PixelBox& cells) {
    const PixelBox target{columns_.FirstAt(cells.left), rows_.FirstAt(cells.top), columns_.FirstAt(cells.right),
                          rows_.FirstAt(cells.bottom)};
    if (target.Width() <= 0 || target.Height() <= 0) return;
    const PixelBox box{cells.left, cells.top, std::min(cells.right + 1, map_.width),
                       std::min(cells.bottom + 1, map_.height)};
    const auto width = static_cast<size_t>(box.Width()), stride = kPlanes * width;
    decisions_.resize(static_cast<size_t>(box.Height()) * stride);
    guided_.Lines(box, decisions_.data(), stride);
    for (int y = box.top; y < box.bottom; ++y) {
      float* to = decisions_.data() + static_cast<size_t>(y - box.top) * stride + GuidedFilter::kPlanes * width;
      const int16_t* distance = DistanceAt(box.left, y);
      for (size_t x = 0; x < width; ++x) to[x] = static_cast<float>(distance[x]) / kDistanceUnit;
    }
    row_.resize(stride);
    for (int y = target.top; y < target.bottom; ++y) {
      const int before = rows_.before[static_cast<size_t>(y)];
      const float* above = decisions_.data() + static_cast<size_t>(before - box.top) * stride;
      const float* below = before + 1 < box.bottom ? above + stride : above;
      const float part = rows_.fraction[static_cast<size_t>(y)];
      for (size_t i = 0; i < stride; ++i) row_[i] = above[i] + part * (below[i] - above[i]);
      FilterRow(box, y, target.left, target.right);
    }
  }

  void FilterRow(const PixelBox& box, int y, int left, int right) {
    const int width = box.Width();
    const uint8_t* bgr = picture_.At(left, y);
    uint8_t* to = mask_.Row(y) + left;
    for (int x = left; x < right; ++x, bgr += 3, ++to) {
      const int column = columns_.before[static_cast<size_t>(x)] - box.left, next = column + 1 < width ? 1 : 0;
      const float part = columns_.fraction[static_cast<size_t>(x)];
      const float* at = row_.data() + column;
      auto between = [&](int plane) {
        const float* value = at + plane * width;
        return value[0] + part * (value[next] - value[0]);
      };
      const float distance = between(GuidedFilter::kPlanes);
      if (distance >= filter_.band || distance <= -filter_.band) continue;
      const float line[] = {between(0), between(1), between(2), between(3)};
      *to = Share(line, distance, bgr);
    }
  }

  static constexpr size_t kPlanes = GuidedFilter::kPlanes + 1;  // the line's and the distance

  const Mask& map_;
  const Image& picture_;
  const OutlineFilter& filter_;
  Axis columns_, rows_;
  GuidedFilter guided_;
  Mask mask_;
  PixelBox around_;
  Distances distances_;
  Floats decisions_, row_;
};

}  // namespace

Mask FilterOutline(const Mask& map, const Image& colours, const OutlineFilter& filter, const Image& picture,
                   const Rectangle& window) {
  return OutlineInPicture(map, colours, filter, picture, window).Make();
}

}  // namespace qx::photo
