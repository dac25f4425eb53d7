#include "crop/resample.h"

#include <cstring>

namespace qx {
namespace {

constexpr uint8_t kOutside = 255;

// The sum and its groupings are part of the result: (P * (1 - fx)) * (1 - fy) and so on, added from left to right.
uint8_t Blend(uint8_t p00, uint8_t p01, uint8_t p10, uint8_t p11, double fx, double fy) {
  const double sum = p00 * (1 - fx) * (1 - fy) + p01 * (1 - fx) * fy + p10 * fx * (1 - fy) + p11 * fx * fy;
  return static_cast<uint8_t>(TruncToInt32(sum + 0.5));
}

void BlendPixel(const ImageView& source, const AxisTap& x, const AxisTap& y, uint8_t* out) {
  const auto channels = static_cast<size_t>(source.channels);
  const uint8_t* upper = source.Row(y.first);
  const uint8_t* lower = source.Row(y.second);
  const size_t left = static_cast<size_t>(x.first) * channels;
  const size_t right = static_cast<size_t>(x.second) * channels;
  for (size_t c = 0; c < 3; ++c) {
    const size_t k = channels == 1 ? 0 : c;
    out[c] = Blend(upper[left + k], lower[left + k], upper[right + k], lower[right + k], x.fraction, y.fraction);
  }
}

}  // namespace

void ResampleCrop(const ImageView& source, const CropSampling& sampling, uint8_t* image, uint8_t* mask) {
  const AxisSampling& columns = sampling.columns;
  const AxisSampling& rows = sampling.rows;
  const auto width = static_cast<size_t>(columns.Count());
  for (int32_t i = 0; i < rows.Count(); ++i, image += width * 3, mask += width) {
    const bool inside = i >= rows.Begin() && i < rows.End();
    const int32_t begin = inside ? columns.Begin() : 0;
    const int32_t end = inside ? columns.End() : 0;
    std::memset(image, kOutside, width * 3);
    std::memset(mask, 0, width);
    std::memset(mask + begin, 1, static_cast<size_t>(end - begin));
    for (int32_t j = begin; j < end; ++j) {
      const AxisTap& x = sampling.turned ? rows[i] : columns[j];
      const AxisTap& y = sampling.turned ? columns[j] : rows[i];
      BlendPixel(source, x, y, image + static_cast<size_t>(j) * 3);
    }
  }
}

}  // namespace qx
