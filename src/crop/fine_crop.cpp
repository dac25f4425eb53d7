#include "crop/fine_crop.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

#include "crop/mask_extents.h"
#include "crop/portrait_search.h"

namespace qx {
namespace {

struct Placement {
  int64_t height, bottom;
};

// All quotients of integers truncate.
class PortraitPlacement {
 public:
  PortraitPlacement(const FaceRecord& face, const FineCropParams& params, const MaskExtents& extents)
      : search_(face, params, extents), params_(params), faceWidth_(extents.faceWidth) {
    const double free = std::min(face.offsetX - static_cast<double>(extents.foreground.left),
                                 static_cast<double>(extents.foreground.right) - face.offsetX);
    // No photograph fits far below 0 either; the limit keeps the products with a height in 64 bits.
    free_ = std::max(TruncToInt32(free), -(1 << 29));
  }

  std::optional<Placement> Find() const {
    const auto found = FindInMiddle();
    return found ? found : FindAtFoot();
  }

 private:
  // A photograph no wider than the person's free surroundings, its bottom in the middle of what the bounds allow.
  std::optional<Placement> FindInMiddle() const {
    const int64_t w = params_.width, h = params_.height;
    const int64_t maxWidth = 2 * free_ + 1;
    const int64_t maxHeight = (maxWidth * h) / w;
    const int64_t minHeight = TruncToInt32(
        (1.4 * static_cast<double>(faceWidth_) + 1.0) * static_cast<double>(h) / static_cast<double>(w) + 0.5);
    if (minHeight > maxHeight || !FaceWidthFits(maxWidth)) return std::nullopt;
    const int64_t start = (2 * maxHeight) / 3 + minHeight / 3;
    auto height = search_.FirstFromBelow(start, maxHeight);
    if (!height) height = search_.FirstFromAbove(minHeight, start);
    if (!height) return std::nullopt;
    const auto run = search_.Bottoms(*height);
    // The middle between the first row that passes from below and the first one above it that fails.
    return Placement{*height, (run.last + run.first - 1) / 2};
  }

  // By the widest photograph, so alike for every height.
  bool FaceWidthFits(int64_t maxWidth) const {
    if (!(params_.faceWidthMin >= 0 && params_.faceWidthMax >= 0)) return true;
    const auto width = static_cast<double>(maxWidth), face = static_cast<double>(faceWidth_);
    return width * params_.faceWidthMin <= face && face <= width * params_.faceWidthMax;
  }

  // A wider photograph, which may reach past the person and the crop, as far down as the bounds allow.
  std::optional<Placement> FindAtFoot() const {
    const int64_t w = params_.width, h = params_.height;
    const int64_t low = ((2 * free_ + 1) * h) / w;
    const int64_t high = ((3 * free_ + 1) * h) / w;
    const auto height = search_.FirstFromBelow(low, high);
    if (!height) return std::nullopt;
    return Placement{*height, search_.Bottoms(*height).last};
  }

  PortraitSearch search_;
  const FineCropParams& params_;
  int64_t faceWidth_;
  int64_t free_;  // columns between the centre and the nearer side of the person's box
};

int32_t Narrow(int64_t v) {
  return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v)));
}

}  // namespace

bool FineCropSingle(const FaceRecord& face, const FineCropParams& params, CropRect* rect) {
  // Ratios that are not numbers give crops of a size below 0, which hold no person.
  if (face.cropWidth < 0 || face.cropHeight < 0) return false;
  const MaskExtents extents = MeasureMask(face);
  const auto placed = PortraitPlacement(face, params, extents).Find();
  if (!placed) return false;
  const auto half = static_cast<double>(((params.width * placed->height) / params.height - 1) / 2);
  *rect = {TruncToInt32(face.offsetX - half), Narrow(placed->bottom - placed->height + 1),
           TruncToInt32(face.offsetX + half), Narrow(placed->bottom)};
  return true;
}

bool FineCropPair(const FaceRecord* faces, const PairCrop& pair, CropRect* rect) {
  MaskExtents e[2];
  for (int i = 0; i < 2; ++i) {
    e[i] = MeasureMask(faces[i]);
    const int64_t dx = pair.boxes[i].left, dy = pair.boxes[i].top;
    e[i].chinRow += dy;
    e[i].minX += dx;
    e[i].maxX += dx;
    e[i].head.top += dy;
    e[i].foreground.left += dx;
    e[i].foreground.right += dx;
    e[i].foreground.bottom += dy;
  }
  const auto faceWidth = static_cast<double>((e[0].faceWidth + e[1].faceWidth) / 2);
  const int64_t chin = std::max(e[0].chinRow, e[1].chinRow);
  const int64_t start = std::min(e[0].foreground.bottom, e[1].foreground.bottom);
  const int64_t headTop = std::min(e[0].head.top, e[1].head.top);
  const int64_t minX = std::min(e[0].minX, e[1].minX);
  const int64_t maxX = std::max(e[0].maxX, e[1].maxX);
  const int64_t centre = (minX + maxX) / 2;
  const int64_t firstHalf = TruncToInt32(static_cast<double>(maxX - minX) * 1.4 * 0.5);
  const int64_t limit =
      (std::max(e[0].foreground.right, e[1].foreground.right) - std::min(e[0].foreground.left, e[1].foreground.left)) /
      2;
  // Rows b with 0.5 fw <= b - chin + 1 < 1.2 fw and 0.3 fw <= headTop - b + h <= 0.8 fw, the lowest first.
  const auto ceiling = [](double v) { return static_cast<int64_t>(std::ceil(v)); };
  const int64_t lowest = std::min(start, chin - 1 + ceiling(1.2 * faceWidth) - 1);
  const int64_t highest = std::max(chin + 1, chin - 1 + ceiling(0.5 * faceWidth));
  const int64_t least = ceiling(0.3 * faceWidth), most = static_cast<int64_t>(std::floor(0.8 * faceWidth));
  // Heights too small for any such row are left out, with a step to spare for the divisions.
  const int64_t smallest = (3 * (highest - headTop + least) - 2) / 4 - 2;
  for (int64_t half = std::max(firstHalf, smallest); half <= limit; ++half) {
    const int64_t h = (4 * half + 2) / 3;
    if (headTop + h - most > lowest) break;  // and so for all larger ones
    const int64_t last = std::min(lowest, headTop + h - least);
    const int64_t first = std::max(highest, headTop + h - most);
    if (first > last) continue;
    *rect = {Narrow(centre - half), Narrow(last - h + 1), Narrow(centre + half), Narrow(last)};
    return true;
  }
  return false;
}

}  // namespace qx
