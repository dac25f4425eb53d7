#include "beauty/detail/boost_detail.h"

#include <algorithm>

#include "base/buffer.h"
#include "kernels/beauty_kernels.h"

namespace qx {
namespace {

constexpr double kEps = 0.04;
constexpr int32_t kRadius = kDetailRadius;
constexpr int32_t kRing = 2 * kRadius + 2;  // rows of sums that one row of means may need

// Rows or columns of the square around i that lie inside.
int32_t Covered(int32_t i, int32_t extent) {
  return std::min(i + kRadius, extent - 1) - std::max(i - kRadius, 0) + 1;
}

// The guided image filter of He, Sun and Tang ("Guided Image Filtering", 2010) for three channels at once, and the
// boost of what it takes away. Box sums are differences of sums down the columns, and then along the rows, of the whole
// patch from its first row and column on: the order of the sums is part of the result. They are carried along row by
// row, so that only a few rows are ever kept.
class DetailFilter {
 public:
  explicit DetailFilter(const ImageView& patch)
      : patch_(patch.pixels), width_(static_cast<size_t>(patch.width)), height_(patch.height) {}

  // False when memory is short.
  bool Prepare() {
    const size_t lanes = width_ * kDetailLanes;
    // Sums begin at 0, the row before the first of the ring too.
    if (!guide_.Allocate(width_ * static_cast<size_t>(height_)) || !ahead_.AllocateZeroed(lanes) ||
        !behind_.AllocateZeroed(lanes) || !ring_.AllocateZeroed(lanes * kRing) || !scratch_.Allocate(lanes) ||
        !means_.Allocate(lanes)) {
      return false;
    }
    for (int x = 0; x < 256; ++x) {
      overFull_[x] = x / 255.0;
      threeOverFull_[x] = x * 3.0 / 255;
    }
    kernels_.detailGuide(patch_, width_ * static_cast<size_t>(height_), guide_.data());
    return true;
  }

  void Run(uint8_t* result) {
    for (int32_t y = 0; y < height_ + kRadius; ++y) {
      if (y < height_) SumCoefficients(y);
      if (y >= kRadius) BoostRow(y - kRadius, result);
    }
  }

 private:
  size_t At(int32_t y) const { return static_cast<size_t>(y) * width_; }
  double* Ring(int32_t y) { return ring_.data() + At(y % kRing) * kDetailLanes; }
  void Accumulate(int32_t y, double* sums) {
    kernels_.detailAccumulate(patch_ + At(y) * 3, guide_.data() + At(y), overFull_, width_, sums);
  }

  void SumCoefficients(int32_t y) {
    for (; rowsAhead_ <= std::min(y + kRadius, height_ - 1); ++rowsAhead_) Accumulate(rowsAhead_, ahead_.data());
    const bool cut = y > kRadius;
    if (cut) Accumulate(y - kRadius - 1, behind_.data());
    kernels_.detailMeans(ahead_.data(), cut ? behind_.data() : nullptr, width_, Covered(y, height_), scratch_.data(),
                         means_.data());
    kernels_.detailCoefficients(means_.data(), kEps, width_, Ring(y + kRing - 1), Ring(y));
  }

  void BoostRow(int32_t y, uint8_t* result) {
    kernels_.detailMeans(Ring(std::min(y + kRadius, height_ - 1)), y > kRadius ? Ring(y - kRadius - 1) : nullptr,
                         width_, Covered(y, height_), scratch_.data(), means_.data());
    kernels_.detailBoost(means_.data(), guide_.data() + At(y), threeOverFull_, patch_ + At(y) * 3, width_,
                         result + At(y) * 3);
  }

  const BeautyKernels& kernels_ = ActiveBeautyKernels();
  const uint8_t* patch_;
  size_t width_;
  int32_t height_;
  int32_t rowsAhead_ = 0;           // in the sums ahead
  double overFull_[256];            // x / 255
  double threeOverFull_[256];       // x * 3 / 255
  Buffer<double> guide_;            // of the whole patch
  Buffer<double> ahead_, behind_;   // sums down the columns of the input, to 8 rows below and to 9 rows above
  Buffer<double> ring_;             // of the coefficients
  Buffer<double> scratch_, means_;  // of one row
};

}  // namespace

Status BoostDetail(const ImageView& patch, uint8_t* result) {
  if (patch.Empty()) return Status::kOk;
  DetailFilter filter(patch);
  if (!filter.Prepare()) return Status::kMemoryShort;
  filter.Run(result);
  return Status::kOk;
}

}  // namespace qx
