#include "beauty/spots/median_fill_spots.h"

#include <algorithm>

#include "base/buffer.h"
#include "base/number.h"

namespace qx {
namespace {

constexpr uint8_t kSpot = 255;

// Counts of the byte values in a square, and the median of them, which follows their changes.
class RunningMedian {
 public:
  // rank: how many values lie below the median or are left of it in sorted order.
  explicit RunningMedian(int64_t rank) : rank_(rank) {}

  void Clear() { *this = RunningMedian(rank_); }
  void Add(uint8_t v) {
    ++counts_[v];
    below_ += v < median_ ? 1 : 0;
  }
  void Remove(uint8_t v) {
    --counts_[v];
    below_ -= v < median_ ? 1 : 0;
  }
  uint8_t Median() {
    while (below_ > rank_) below_ -= counts_[--median_];
    while (below_ + counts_[median_] <= rank_) below_ += counts_[median_++];
    return median_;
  }

 private:
  int64_t rank_;
  int64_t below_ = 0;  // values less than median_
  uint8_t median_ = 0;
  int32_t counts_[256] = {};
};

// The square around a position that moves along a row, with the medians of its channels.
class MovingSquare {
 public:
  MovingSquare(const MutableImage& image, int64_t half)
      : image_(image.pixels),
        stride_(image.Stride()),
        half_(half),
        medians_{RunningMedian(Rank()), RunningMedian(Rank()), RunningMedian(Rank())} {}

  void MoveTo(int64_t x, int64_t y) {
    if (y == y_ && x - x_ <= half_) {
      while (x_ < x) {
        ForColumn(x_ - half_, [](RunningMedian* m, uint8_t v) { m->Remove(v); });
        ++x_;
        ForColumn(x_ + half_, [](RunningMedian* m, uint8_t v) { m->Add(v); });
      }
      return;
    }
    x_ = x;
    y_ = y;
    for (RunningMedian& median : medians_) median.Clear();
    for (int64_t i = x - half_; i <= x + half_; ++i) {
      ForColumn(i, [](RunningMedian* m, uint8_t v) { m->Add(v); });
    }
  }

  // Fills the pixel in the middle.
  void Fill() {
    uint8_t median[3];
    for (int c = 0; c < 3; ++c) median[c] = medians_[c].Median();
    if ((median[0] | median[1] | median[2]) == 0) return;
    uint8_t* pixel = image_ + static_cast<size_t>(y_) * stride_ + static_cast<size_t>(x_) * 3;
    for (int c = 0; c < 3; ++c) {
      const double mix = std::clamp(0.9 * median[c] + 0.1 * pixel[c], 0.0, 255.0);
      medians_[c].Remove(pixel[c]);
      pixel[c] = static_cast<uint8_t>(TruncToInt32(mix));
      medians_[c].Add(pixel[c]);
    }
  }

 private:
  int64_t Rank() const { return (2 * half_ + 1) * (2 * half_ + 1) / 2; }

  template <typename Change>
  void ForColumn(int64_t x, Change change) {
    const uint8_t* pixel = image_ + static_cast<size_t>(y_ - half_) * stride_ + static_cast<size_t>(x) * 3;
    for (int64_t i = 0; i <= 2 * half_; ++i, pixel += stride_) {
      for (int c = 0; c < 3; ++c) change(&medians_[c], pixel[c]);
    }
  }

  uint8_t* image_;
  size_t stride_;
  int64_t half_;
  RunningMedian medians_[3];
  int64_t x_ = 0, y_ = -1;
};

}  // namespace

Status MedianFillSpots(const SpotMask* spots, const ImageView& source, double kernelSize, uint8_t* destination) {
  if (source.pixels == nullptr || source.width < 0 || source.height < 0 || spots == nullptr || !(kernelSize >= 0)) {
    return Status::kBadArgument;
  }
  CopyBytes(destination, source.pixels, source.Bytes());
  const int64_t half = TruncToInt32(std::min(kernelSize, 2147483646.0)) / 2;
  MovingSquare square({destination, source.width, source.height, 3}, half);
  for (int64_t y = spots->top + half; y < spots->bottom - half; ++y) {
    const uint8_t* row = spots->mask.data() + static_cast<size_t>(y) * static_cast<size_t>(source.width);
    for (int64_t x = spots->left + half; x < spots->right - half; ++x) {
      if (row[x] != kSpot) continue;
      square.MoveTo(x, y);
      square.Fill();
    }
  }
  return Status::kOk;
}

}  // namespace qx
