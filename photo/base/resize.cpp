#include "photo/base/resize.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "base/exact_math.h"

namespace qx::photo {
namespace {

constexpr double kLobes = 3;
constexpr double kPi = 3.14159265358979323846;

double Lanczos(double x) {
  if (x == 0) return 1;
  if (std::abs(x) >= kLobes) return 0;
  return kLobes * exact::QuickSin(kPi * x) * exact::QuickSin(kPi * x / kLobes) / (kPi * kPi * x * x);
}

constexpr int32_t kTapsAtOnce = 4;  // so that the processor's registers are full

// What each target sample takes from the source samples first, first + 1, ...
struct Taps {
  std::vector<int32_t> first;
  std::vector<float> weights;  // `count` for each target sample, of sum 1
  int32_t count = 0;
};

Taps MakeTaps(double start, double length, int32_t samples) {
  const double scale = length / samples, stretch = std::max(scale, 1.0);
  Taps taps;
  const auto reach = static_cast<int32_t>(std::ceil(kLobes * stretch));
  taps.count = (2 * reach / kTapsAtOnce + 1) * kTapsAtOnce;  // beyond the reach weights are 0
  std::vector<double> row(static_cast<size_t>(taps.count));
  for (int32_t i = 0; i < samples; ++i) {
    const double centre = start + (i + 0.5) * scale - 0.5;  // where a sample's middle is a whole number
    const auto first = static_cast<int32_t>(std::floor(centre)) - taps.count / 2;
    double sum = 0;
    for (int32_t k = 0; k < taps.count; ++k) {
      sum += row[static_cast<size_t>(k)] = Lanczos((first + k - centre) / stretch);
    }
    taps.first.push_back(first);
    for (const double weight : row) taps.weights.push_back(static_cast<float>(weight / sum));
  }
  return taps;
}

// The picture's rows that the current target row needs, as float, in a ring by their number; only the columns that the
// part needs, its border columns repeated on both sides where the kernel reaches beyond the picture.
class SourceRows {
 public:
  // `left`, `right`: the columns from and to which the kernel reaches.
  SourceRows(const PixelView& picture, int32_t left, int32_t right, int32_t count)
      : picture_(picture),
        left_(left),
        right_(right),
        first_(std::clamp(left, 0, picture.width - 1)),
        end_(std::clamp(right, first_ + 1, picture.width)),
        count_(count),
        stride_(static_cast<size_t>(end_ - first_) * 3),
        ring_(static_cast<size_t>(count) * stride_) {}

  // The rows first, first + 1 ... by their weights, as floats of the columns from left to right. `first` never falls.
  void Blend(int32_t first, const float* weights, float* line) {
    for (next_ = std::max(next_, first); next_ < first + count_; ++next_) Read(next_);
    float* to = line + static_cast<size_t>(first_ - left_) * 3;
    std::fill_n(to, stride_, 0.0f);
    for (int32_t k = 0; k < count_; k += kTapsAtOnce) {
      const float *a = Slot(first + k), *b = Slot(first + k + 1), *c = Slot(first + k + 2), *d = Slot(first + k + 3);
      const float wa = weights[k], wb = weights[k + 1], wc = weights[k + 2], wd = weights[k + 3];
      for (size_t i = 0; i < stride_; ++i) to[i] += wa * a[i] + wb * b[i] + wc * c[i] + wd * d[i];
    }
    for (float* at = to; at > line; at -= 3) std::copy_n(to, 3, at - 3);
    const float* last = to + stride_ - 3;
    float* behind = to + stride_;
    for (int32_t x = end_; x < right_; ++x, behind += 3) std::copy_n(last, 3, behind);
  }

 private:
  float* Slot(int32_t row) { return ring_.data() + static_cast<size_t>((row % count_ + count_) % count_) * stride_; }

  void Read(int32_t row) {
    const uint8_t* from = picture_.At(first_, std::clamp(row, 0, picture_.height - 1));
    float* to = Slot(row);
    for (size_t i = 0; i < stride_; ++i) to[i] = static_cast<float>(from[i]);
  }

  const PixelView picture_;
  const int32_t left_, right_, first_, end_, count_;
  const size_t stride_;
  Floats ring_;
  int32_t next_ = std::numeric_limits<int32_t>::min();  // the first row that is not yet in the ring
};

// A line that begins with the column `left`, brought to the target's width. Behind it lies one more float: four samples
// are read where three count, for the processor takes four at once.
void ResizeLine(const float* line, int32_t left, const Taps& taps, uint8_t* out) {
  const float* weight = taps.weights.data();
  for (const int32_t first : taps.first) {
    const float* pixel = line + static_cast<size_t>(first - left) * 3;
    float sum[4] = {0, 0, 0, 0};
    for (int32_t k = 0; k < taps.count; k += kTapsAtOnce, weight += kTapsAtOnce, pixel += 3 * kTapsAtOnce) {
      for (int c = 0; c < 4; ++c) {
        sum[c] +=
            (weight[0] * pixel[c] + weight[1] * pixel[3 + c]) + (weight[2] * pixel[6 + c] + weight[3] * pixel[9 + c]);
      }
    }
    for (int c = 0; c < 3; ++c) {
      *out++ = static_cast<uint8_t>(static_cast<int32_t>(std::clamp(sum[c], 0.0f, 255.0f) + 0.5f));
    }
  }
}

}  // namespace

int32_t LanczosReach(double scale) {
  return static_cast<int32_t>(std::ceil(kLobes * std::max(scale, 1.0))) + 1;
}

Image ResizeLanczos(const PixelView& picture, const Rectangle& part, int32_t width, int32_t height) {
  const Taps columns = MakeTaps(part.left, part.width, width), rows = MakeTaps(part.top, part.height, height);
  // At least one column of the picture takes part.
  const int32_t left = std::min(columns.first.front(), picture.width - 1);
  const int32_t right = std::max(columns.first.back() + columns.count, 1);
  SourceRows source(picture, left, right, rows.count);
  Floats line(static_cast<size_t>(right - left) * 3 + 1);
  line.back() = 0;
  Image target(width, height);
  for (int32_t y = 0; y < height; ++y) {
    const auto row = static_cast<size_t>(y);
    source.Blend(rows.first[row], rows.weights.data() + row * static_cast<size_t>(rows.count), line.data());
    ResizeLine(line.data(), left, columns, target.At(0, y));
  }
  ToBgr(picture.order, &target);
  return target;
}

}  // namespace qx::photo
