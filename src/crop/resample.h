// Upright resampling: each axis of the output runs along one axis of the source.
#ifndef QX_CROP_RESAMPLE_H
#define QX_CROP_RESAMPLE_H

#include <algorithm>
#include <cstdint>

#include "base/buffer.h"
#include "base/image_view.h"
#include "base/number.h"

namespace qx {

// Where the pixels of one output axis fall on the source axis that it runs along.
class AxisSampling {
 public:
  // position(k) is the real source position of output pixel k, monotonic in k. sourceExtent: pixels on the source axis.
  // False when memory is short.
  template <typename Position>
  bool Build(int32_t count, int32_t sourceExtent, const Position& position) {
    count_ = std::max(count, 0);
    begin_ = end_ = 0;
    const auto taps = static_cast<uint64_t>(count_);
    if (!first_.Allocate(taps) || !fraction_.Allocate(taps)) return false;
    for (int32_t k = 0; k < count_; ++k) {
      const double p = position(k);
      if (!(p >= 0 && p <= static_cast<double>(sourceExtent) - 1)) continue;
      if (begin_ == end_) begin_ = k;
      end_ = k + 1;
      const int32_t first = TruncToInt32(p);
      first_[static_cast<size_t>(k)] = first;
      fraction_[static_cast<size_t>(k)] = p - first;
    }
    step_ = FindStep();
    return true;
  }

  int32_t Count() const { return count_; }
  // Output pixels in [Begin, End) lie inside the source; only they have taps.
  int32_t Begin() const { return begin_; }
  int32_t End() const { return end_; }
  // 1 or -1 where every output pixel inside falls on a whole source pixel, each the next or each the one before.
  // 0 otherwise.
  int32_t Step() const { return step_; }
  // The source pixel at or before the position of output pixel k.
  int32_t First(int32_t k) const { return first_[static_cast<size_t>(k)]; }
  // Weight of the pixel after it: 0 to below 1, and 0 on the last source pixel.
  double Fraction(int32_t k) const { return fraction_[static_cast<size_t>(k)]; }
  // Both from output pixel k on.
  const int32_t* FirstFrom(int32_t k) const { return first_.data() + k; }
  const double* FractionFrom(int32_t k) const { return fraction_.data() + k; }

 private:
  int32_t FindStep() const;

  Buffer<int32_t> first_;
  Buffer<double> fraction_;
  int32_t count_ = 0;
  int32_t begin_ = 0;
  int32_t end_ = 0;
  int32_t step_ = 0;
};

// The two axes of an output image. Unturned: columns run along the source's x axis, rows along y; turned: the other
// way round.
struct CropSampling {
  AxisSampling columns;
  AxisSampling rows;
  bool turned = false;
};

// Renders columns.Count() x rows.Count() pixels of as many bytes as a source pixel has: inside the source, bilinear
// with the result rounded half up; every byte outside is `outside`.
void ResampleUpright(const ImageView& source, const CropSampling& sampling, uint8_t outside, uint8_t* image);

// The same as a crop: image takes three bytes a pixel (a grey source pixel gives three equal ones), white outside;
// mask takes one, 1 inside and 0 outside.
void ResampleCrop(const ImageView& source, const CropSampling& sampling, uint8_t* image, uint8_t* mask);

}  // namespace qx

#endif  // QX_CROP_RESAMPLE_H
