#include "api/pair_beauty.h"

#include <algorithm>
#include <cstring>

namespace qx {
namespace {

// A face's crop in the common crop. Pixels outside the canvas (positions that wrapped around) are left out.
struct Placed {
  const FaceRecord* face;
  int64_t left, top;  // in the canvas
  int64_t width, height;
};

Placed Place(const IDPResult& result, int i) {
  const FaceRecord* face = result.Face(i);
  const PairBox& box = result.pairCrop->boxes[i];
  return {face, box.left, box.top, std::max(face->cropWidth, 0), std::max(face->cropHeight, 0)};
}

struct Area {
  int64_t left, top, right, bottom;  // half-open
};

Area Visible(const Placed& p, const PairCrop& pair) {
  return {std::max<int64_t>(p.left, 0), std::max<int64_t>(p.top, 0),
          std::min<int64_t>(p.left + p.width, pair.cropWidth), std::min<int64_t>(p.top + p.height, pair.cropHeight)};
}

// Copies a face's pixels inside an area of the canvas where `wins` says so. A null crop counts as zeros.
template <typename Wins>
void Paste(const Placed& p, const uint8_t* crop, size_t bytes, const Area& area, int64_t canvasWidth, Wins wins,
           uint8_t* canvas) {
  for (int64_t y = area.top; y < area.bottom; ++y) {
    for (int64_t x = area.left; x < area.right; ++x) {
      if (!wins(x, y)) continue;
      uint8_t* to = canvas + static_cast<size_t>(y * canvasWidth + x) * bytes;
      if (crop == nullptr) {
        std::memset(to, 0, bytes);
      } else {
        std::memcpy(to, crop + static_cast<size_t>((y - p.top) * p.width + x - p.left) * bytes, bytes);
      }
    }
  }
}

int MaskAt(const Placed& p, int64_t x, int64_t y) {
  if (!p.face->fgMask) return 0;
  return p.face->fgMask[static_cast<size_t>((y - p.top) * p.width + x - p.left)];
}

// Face 1 covers face 0 where they meet, but where face 0's mask is the stronger one.
void Compose(const IDPResult& result, const uint8_t* crop0, const uint8_t* crop1, size_t bytes, uint8_t* canvas) {
  const PairCrop& pair = *result.pairCrop;
  FillBytes(canvas, 0, ImageBytes(pair.cropWidth, pair.cropHeight, static_cast<int32_t>(bytes)));
  const Placed p0 = Place(result, 0), p1 = Place(result, 1);
  const Area a0 = Visible(p0, pair), a1 = Visible(p1, pair);
  const auto always = [](int64_t, int64_t) { return true; };
  Paste(p0, crop0, bytes, a0, pair.cropWidth, always, canvas);
  Paste(p1, crop1, bytes, a1, pair.cropWidth, always, canvas);
  const Area both = {std::max(a0.left, a1.left), std::max(a0.top, a1.top), std::min(a0.right, a1.right),
                     std::min(a0.bottom, a1.bottom)};
  const auto stronger = [&](int64_t x, int64_t y) { return MaskAt(p0, x, y) > MaskAt(p1, x, y); };
  Paste(p0, crop0, bytes, both, pair.cropWidth, stronger, canvas);
}

}  // namespace

void ComposePairBeauty(IDPResult* result, const uint8_t* crop0, const uint8_t* crop1, uint8_t* canvas) {
  if (canvas != nullptr) {
    Compose(*result, crop0, crop1, 3, canvas);
    return;
  }
  PairCrop& pair = *result->pairCrop;
  ByteBuffer mask, colour;
  if (!mask.Allocate(ImageBytes(pair.cropWidth, pair.cropHeight, 1)) ||
      !colour.Allocate(ImageBytes(pair.cropWidth, pair.cropHeight, 3))) {
    return;
  }
  const FaceRecord& f0 = *result->Face(0);
  const FaceRecord& f1 = *result->Face(1);
  Compose(*result, f0.fgMask.data(), f1.fgMask.data(), 1, mask.data());
  Compose(*result, f0.fgColour.data(), f1.fgColour.data(), 3, colour.data());
  pair.fgMask = std::move(mask);
  pair.fgColour = std::move(colour);
}

}  // namespace qx
