// Upright resampling: each crop axis runs along one axis of the source.
#ifndef QX_CROP_RESAMPLE_H
#define QX_CROP_RESAMPLE_H

#include <algorithm>
#include <cstdint>

#include "base/buffer.h"
#include "base/image_view.h"
#include "base/number.h"

namespace qx {

// Where one crop pixel falls on a source axis.
struct AxisTap {
  int32_t first;    // the source pixel at or before the position
  int32_t second;   // its neighbour, or the same one on the last pixel
  double fraction;  // 0 to below 1: weight of the second
};

// Where the pixels of one crop axis fall on the source axis that it runs along.
class AxisSampling {
 public:
  // position(k) is the real source position of crop pixel k, monotonic in k. sourceExtent: pixels on the source axis.
  // False when memory is short.
  template <typename Position>
  bool Build(int32_t count, int32_t sourceExtent, const Position& position) {
    count_ = std::max(count, 0);
    begin_ = end_ = 0;
    if (!taps_.Allocate(static_cast<uint64_t>(count_))) return false;
    for (int32_t k = 0; k < count_; ++k) {
      const double p = position(k);
      if (!(p >= 0 && p <= static_cast<double>(sourceExtent) - 1)) continue;
      if (begin_ == end_) begin_ = k;
      end_ = k + 1;
      const int32_t first = TruncToInt32(p);
      taps_[static_cast<size_t>(k)] = {first, std::min(first + 1, sourceExtent - 1), p - first};
    }
    return true;
  }

  int32_t Count() const { return count_; }
  // Crop pixels in [Begin, End) lie inside the source; only they have taps.
  int32_t Begin() const { return begin_; }
  int32_t End() const { return end_; }
  const AxisTap& operator[](int32_t k) const { return taps_[static_cast<size_t>(k)]; }

 private:
  Buffer<AxisTap> taps_;
  int32_t count_ = 0;
  int32_t begin_ = 0;
  int32_t end_ = 0;
};

// The two axes of a crop. Unturned: columns run along the source's x axis, rows along y; turned: the other way round.
struct CropSampling {
  AxisSampling columns;
  AxisSampling rows;
  bool turned = false;
};

// Renders columns.Count() x rows.Count() pixels: image takes three bytes each (a grey source pixel gives three equal
// ones), mask one. Inside the source, bilinear with the result rounded half up, and mask 1; outside white and mask 0.
void ResampleCrop(const ImageView& source, const CropSampling& sampling, uint8_t* image, uint8_t* mask);

}  // namespace qx

#endif  // QX_CROP_RESAMPLE_H
