#include "beauty/masked_gaussian.h"

#include <algorithm>
#include <cmath>

#include "base/buffer.h"

namespace qx {
namespace {

constexpr size_t kLevels = 256;

// One line of pixels with their mask values, along a row or a column; steps are in bytes.
struct Line {
  const uint8_t* pixels;
  const uint8_t* mask;
  size_t maskStep;
  int64_t count;
};

class MaskedKernel {
 public:
  // levels: the weight of each mask value. False when memory is short.
  bool Prepare(double sigma, const double* levels) {
    reach_ = TruncToInt32((sigma * 2 + 1) * 0.5);
    const auto taps = static_cast<size_t>(2 * int64_t{reach_} + 1);
    Buffer<double> kernel;
    if (!kernel.Allocate(taps) || !products_.Allocate(taps * kLevels)) return false;
    double sum = 0;
    for (size_t t = 0; t < taps; ++t) {
      const double i = static_cast<double>(t) - reach_;
      kernel[t] = std::exp(i * i * -0.5 / (sigma * sigma)) / (std::sqrt(6.28318530718) * sigma);
      sum += kernel[t];
    }
    for (size_t t = 0; t < taps; ++t) {
      for (size_t v = 0; v < kLevels; ++v) products_[t * kLevels + v] = kernel[t] / sum * levels[v];
    }
    return true;
  }

  // The weighted mean around position `at`, whose own mask value is not 0.
  void Mean(const Line& line, int64_t at, uint8_t* out) const {
    double weights = 0, sums[3] = {};
    const double* products = products_.data();
    for (int64_t i = at - reach_; i <= at + reach_; ++i, products += kLevels) {
      const auto from = static_cast<size_t>(std::clamp<int64_t>(i, 0, line.count - 1));
      const double weight = products[line.mask[from * line.maskStep]];
      const uint8_t* pixel = line.pixels + from * 3;
      weights += weight;
      for (int c = 0; c < 3; ++c) sums[c] += weight * pixel[c];
    }
    for (int c = 0; c < 3; ++c) out[c] = static_cast<uint8_t>(TruncToInt32(std::min(sums[c] / weights, 255.0)));
  }

 private:
  int32_t reach_ = 0;
  Buffer<double> products_;  // by tap and mask value: the tap's weight times the value's
};

void Transpose(const uint8_t* image, size_t width, size_t height, uint8_t* transposed) {
  for (size_t y = 0; y < height; ++y) {
    for (size_t x = 0; x < width; ++x, image += 3) std::copy_n(image, 3, transposed + (x * height + y) * 3);
  }
}

}  // namespace

int MaskedGaussian(const LabTables& tables, uint8_t* image, int32_t width, int32_t height, double sigma,
                   const SkinBox* boxes, int32_t faceCount, const uint8_t* mask) {
  MaskedKernel kernel;
  ByteBuffer transposed;
  if (!tables.levelTable || !transposed.Allocate(ImageBytes(width, height, 3)) ||
      !kernel.Prepare(sigma, tables.levelTable.data())) {
    return -3;
  }
  SkinBox area = {0, 0, width, height};
  if (faceCount == 1) {
    const SkinBox& box = boxes[0];
    area = ClipBox({box.left / 2, box.top / 2, box.right / 2, box.bottom / 2}, width, height);
  }
  const auto columns = static_cast<size_t>(width), rows = static_cast<size_t>(height);
  // What lies outside the area is read by the second pass as it stands.
  Transpose(image, columns, rows, transposed.data());
  for (int32_t y = area.top; y < area.bottom; ++y) {
    const size_t row = static_cast<size_t>(y) * columns;
    const Line line = {image + row * 3, mask + row, 1, width};
    for (int32_t x = area.left; x < area.right; ++x) {
      if (line.mask[x] == 0) continue;
      kernel.Mean(line, x, transposed.data() + (static_cast<size_t>(x) * rows + static_cast<size_t>(y)) * 3);
    }
  }
  for (int32_t x = area.left; x < area.right; ++x) {
    const auto column = static_cast<size_t>(x);
    const Line line = {transposed.data() + column * rows * 3, mask + column, columns, height};
    for (int32_t y = area.top; y < area.bottom; ++y) {
      const size_t at = static_cast<size_t>(y) * columns + column;
      if (mask[at] != 0) kernel.Mean(line, y, image + at * 3);
    }
  }
  return 0;
}

}  // namespace qx
