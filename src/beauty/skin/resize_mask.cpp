#include "beauty/skin/resize_mask.h"

#include <utility>

#include "kernels/beauty_kernels.h"

namespace qx {
namespace {

// A source row brought to the output's width. Kept, because many output rows lie between the same two.
struct WideRow {
  int32_t row = -1;  // of the source; -1 for none yet
  Buffer<double> values;
};

void Widen(const uint8_t* source, const BilinearPosition* columns, size_t count, double* values) {
  for (size_t x = 0; x < count; ++x) {
    const double weight = columns[x].weight;
    values[x] = (1 - weight) * source[columns[x].first] + weight * source[columns[x].second];
  }
}

}  // namespace

ByteBuffer ResizeMask(const ImageView& source, int32_t outWidth, int32_t outHeight) {
  const auto count = static_cast<size_t>(outWidth);
  ByteBuffer out;
  Buffer<BilinearPosition> columns;
  WideRow upper, lower;
  if (!columns.Allocate(count) || !upper.values.Allocate(count) || !lower.values.Allocate(count) ||
      !out.Allocate(ImageBytes(outWidth, outHeight, 1))) {
    return ByteBuffer();
  }
  const double stepX = static_cast<double>(source.width) / outWidth;
  const double stepY = static_cast<double>(source.height) / outHeight;
  for (int32_t x = 0; x < outWidth; ++x) columns[static_cast<size_t>(x)] = BilinearPosition::At(x, stepX, source.width);
  const auto load = [&](int32_t row, WideRow* wide) {
    if (wide->row == row) return;
    Widen(source.Row(row), columns.data(), count, wide->values.data());
    wide->row = row;
  };
  const BeautyKernels& kernels = ActiveBeautyKernels();
  for (int32_t y = 0; y < outHeight; ++y) {
    const BilinearPosition rows = BilinearPosition::At(y, stepY, source.height);
    if (lower.row == rows.first) std::swap(upper, lower);
    load(rows.first, &upper);
    load(rows.second, &lower);
    kernels.mixRow(upper.values.data(), lower.values.data(), rows.weight, count,
                   out.data() + static_cast<size_t>(y) * count);
  }
  return out;
}

}  // namespace qx
