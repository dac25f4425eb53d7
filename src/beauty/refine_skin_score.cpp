#include "beauty/refine_skin_score.h"

#include "base/buffer.h"

namespace qx {
namespace {

// Three rows of a plane, and what is left of them column by column.
struct Rows {
  const uint8_t *above, *here, *below;

  Rows(const uint8_t* plane, int32_t y, size_t stride)
      : above(plane + static_cast<size_t>(y - 1) * stride), here(above + stride), below(here + stride) {}
};

// The least of the 3 x 3 square around columns begin to end - 1. column: scratch of the row's length.
void Erode(const Rows& rows, int32_t begin, int32_t end, uint8_t* column, uint8_t* out) {
  for (int32_t x = begin - 1; x < end + 1; ++x) column[x] = std::min({rows.above[x], rows.here[x], rows.below[x]});
  for (int32_t x = begin; x < end; ++x) out[x] = std::min({column[x - 1], column[x], column[x + 1]});
}

// The truncated mean of the square.
void Average(const Rows& rows, int32_t begin, int32_t end, uint16_t* column, uint8_t* out) {
  for (int32_t x = begin - 1; x < end + 1; ++x) {
    column[x] = static_cast<uint16_t>(rows.above[x] + rows.here[x] + rows.below[x]);
  }
  for (int32_t x = begin; x < end; ++x) {
    const auto sum = static_cast<uint16_t>(column[x - 1] + column[x] + column[x + 1]);
    out[x] = static_cast<uint8_t>(sum / 9);
  }
}

}  // namespace

int RefineSkinScore(int32_t width, int32_t height, const SkinBox& box, int32_t rounds, uint8_t* score) {
  ByteBuffer eroded, least;
  Buffer<uint16_t> sums;
  const auto stride = static_cast<size_t>(std::max(width, 0));
  if (!eroded.AllocateZeroed(ImageBytes(width, height, 1)) || !least.Allocate(stride) || !sums.Allocate(stride)) {
    return -3;
  }
  const SkinBox area = ClipBox(box, width, height);
  for (int32_t round = 0; round < rounds; ++round) {
    for (int32_t y = area.top + 1; y < area.bottom - 1; ++y) {
      if (area.left + 1 >= area.right - 1) break;
      Erode(Rows(score, y, stride), area.left + 1, area.right - 1, least.data(),
            eroded.data() + static_cast<size_t>(y) * stride);
    }
    for (int32_t y = area.top + 2; y < area.bottom - 2; ++y) {
      if (area.left + 2 >= area.right - 2) break;
      Average(Rows(eroded.data(), y, stride), area.left + 2, area.right - 2, sums.data(),
              score + static_cast<size_t>(y) * stride);
    }
  }
  uint8_t curve[256];
  for (int v = 0; v < 256; ++v) {
    const double missing = 1 - v / 255.0;
    curve[v] = static_cast<uint8_t>(TruncToInt32((1 - missing * missing) * 255));
  }
  for (int32_t y = area.top; y < area.bottom; ++y) {
    uint8_t* row = score + static_cast<size_t>(y) * stride;
    for (int32_t x = area.left; x < area.right; ++x) row[x] = curve[row[x]];
  }
  return 0;
}

}  // namespace qx
