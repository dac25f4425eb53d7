#include "beauty/skin/masked_gaussian.h"

#include <algorithm>
#include <cmath>

#include "base/buffer.h"
#include "base/exact_math.h"
#include "kernels/beauty_kernels.h"

namespace qx {
namespace {

constexpr size_t kLevels = 256;

// The taps' weights by tap and mask value. False when memory is short.
bool BuildProducts(double sigma, int32_t reach, const double* levels, Buffer<double>* products) {
  const auto taps = static_cast<size_t>(2 * int64_t{reach} + 1);
  Buffer<double> kernel;
  if (!kernel.Allocate(taps) || !products->Allocate(taps * kLevels)) return false;
  double sum = 0;
  for (size_t t = 0; t < taps; ++t) {
    const double i = static_cast<double>(t) - reach;
    kernel[t] = exact::Exp(i * i * -0.5 / (sigma * sigma)) / (std::sqrt(6.28318530718) * sigma);
    sum += kernel[t];
  }
  for (size_t t = 0; t < taps; ++t) {
    for (size_t v = 0; v < kLevels; ++v) (*products)[t * kLevels + v] = kernel[t] / sum * levels[v];
  }
  return true;
}

// Takes the means along the lines of an image, with its mask's.
class LineFilter {
 public:
  // levels: the weight of each mask value; longest: pixels of a line. False when memory is short.
  bool Prepare(double sigma, const double* levels, int32_t longest) {
    reach_ = TruncToInt32((sigma * 2 + 1) * 0.5);
    const auto padded = static_cast<uint64_t>(int64_t{longest} + 2 * int64_t{reach_});
    return BuildProducts(sigma, reach_, levels, &products_) && lanes_.Allocate(padded * 4) && mask_.Allocate(padded);
  }

  // Filters positions begin to end - 1 of a line of `count` pixels, whose ends repeat. Steps are in bytes.
  void Run(const uint8_t* pixels, const uint8_t* mask, size_t maskStep, int32_t count, int32_t begin, int32_t end,
           uint8_t* out, size_t outStep) {
    double* lanes = lanes_.data();
    uint8_t* values = mask_.data();
    for (int64_t i = int64_t{begin} - reach_; i < int64_t{end} + reach_; ++i, lanes += 4) {
      const auto from = static_cast<size_t>(std::clamp<int64_t>(i, 0, count - 1));
      *values++ = mask[from * maskStep];
      lanes[0] = 1;
      for (size_t c = 0; c < 3; ++c) lanes[c + 1] = pixels[from * 3 + c];
    }
    ActiveBeautyKernels().maskedMeans(lanes_.data(), mask_.data(), products_.data(),
                                      static_cast<size_t>(2 * int64_t{reach_} + 1), static_cast<size_t>(end - begin),
                                      out, outStep);
  }

 private:
  int32_t reach_ = 0;
  Buffer<double> products_, lanes_;
  ByteBuffer mask_;
};

void Transpose(const uint8_t* image, size_t width, size_t height, uint8_t* transposed) {
  for (size_t y = 0; y < height; ++y) {
    for (size_t x = 0; x < width; ++x, image += 3) std::copy_n(image, 3, transposed + (x * height + y) * 3);
  }
}

}  // namespace

Status MaskedGaussian(const LabTables& tables, const MutableImage& image, double sigma, const SkinBox* boxes,
                      int32_t faceCount, const uint8_t* mask) {
  const int32_t width = image.width, height = image.height;
  LineFilter filter;
  ByteBuffer transposed;
  if (!tables.levelTable || !transposed.Allocate(image.Bytes()) ||
      !filter.Prepare(sigma, tables.levelTable.data(), std::max(width, height))) {
    return Status::kMemoryShort;
  }
  SkinBox area = {0, 0, width, height};
  if (faceCount == 1) {
    const SkinBox& box = boxes[0];
    area = ClipBox({box.left / 2, box.top / 2, box.right / 2, box.bottom / 2}, width, height);
  }
  if (area.left >= area.right || area.top >= area.bottom) return Status::kOk;
  const auto columns = static_cast<size_t>(width), rows = static_cast<size_t>(height);
  const auto left = static_cast<size_t>(area.left), top = static_cast<size_t>(area.top);
  // What lies outside the area is read by the second pass as it stands.
  Transpose(image.pixels, columns, rows, transposed.data());
  for (int32_t y = area.top; y < area.bottom; ++y) {
    const size_t row = static_cast<size_t>(y) * columns;
    filter.Run(image.pixels + row * 3, mask + row, 1, width, area.left, area.right,
               transposed.data() + (left * rows + static_cast<size_t>(y)) * 3, rows * 3);
  }
  for (int32_t x = area.left; x < area.right; ++x) {
    const auto column = static_cast<size_t>(x);
    filter.Run(transposed.data() + column * rows * 3, mask + column, columns, height, area.top, area.bottom,
               image.pixels + (top * columns + column) * 3, columns * 3);
  }
  return Status::kOk;
}

}  // namespace qx
