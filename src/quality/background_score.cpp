#include "quality/background_score.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "kernels/kernels.h"

namespace qx {
namespace {

using Colour = std::array<double, 3>;

// Columns x to x + width - 1, rows y to y + height - 1. A size below 1 is an empty patch.
struct Patch {
  int64_t x, y, width, height;

  bool Empty() const { return width <= 0 || height <= 0; }
  int64_t Pixels() const { return Empty() ? 0 : width * height; }
};

Patch ClipToCrop(const FaceRecord& face, Patch patch) {
  const int64_t right = std::min<int64_t>(patch.x + patch.width, face.cropWidth);
  const int64_t bottom = std::min<int64_t>(patch.y + patch.height, face.cropHeight);
  patch.x = std::max<int64_t>(patch.x, 0);
  patch.y = std::max<int64_t>(patch.y, 0);
  patch.width = right - patch.x;
  patch.height = bottom - patch.y;
  return patch;
}

template <typename Visit>
void ForEachRow(const FaceRecord& face, const Patch& patch, Visit visit) {
  if (patch.Empty()) return;
  for (int64_t y = patch.y; y < patch.y + patch.height; ++y) {
    visit(face.cropImage.data() + (y * face.cropWidth + patch.x) * 3, static_cast<size_t>(patch.width));
  }
}

Colour SumOf(const FaceRecord& face, const Patch& patch) {
  uint64_t sum[3] = {};
  ForEachRow(face, patch, [&](const uint8_t* row, size_t count) { ActiveKernels().addChannels(row, count, sum); });
  return {static_cast<double>(sum[0]), static_cast<double>(sum[1]), static_cast<double>(sum[2])};
}

Colour Divide(const Colour& sum, int64_t count) {
  if (count == 0) return {};
  const auto n = static_cast<double>(count);
  return {sum[0] / n, sum[1] / n, sum[2] / n};
}

double AtLeastZero(double v) {
  return v > 0 ? v : 0;
}

// The patches beside the head reach from 2.8 widths above the eyes down.
struct SidePatches {
  Patch left, right;
};

SidePatches FindSidePatches(const FaceRecord& face, const FaceFrame& frame) {
  const double w = frame.width;
  const int64_t lastColumn = int64_t{face.cropWidth} - 1;
  const auto last = static_cast<double>(lastColumn);
  const int64_t top = TruncToInt32(AtLeastZero(frame.eyeY - 2.8 * w));
  // A row of the crop is used as the height here.
  const int64_t height = std::min<int64_t>(TruncToInt32(frame.eyeY + 1.2 * frame.height), face.cropHeight - top - 1);

  int64_t x0 = TruncToInt32(AtLeastZero(frame.centreX - 2.2 * w));
  int64_t width = TruncToInt32(AtLeastZero(frame.centreX - 1.5 * w)) - x0;
  if (width == 0) {
    x0 = 0;
    width = 1;
  }
  const Patch left = {x0, top, std::min(width, lastColumn - x0), height};

  x0 = TruncToInt32(std::min(last, frame.centreX + 1.5 * w));
  width = TruncToInt32(std::min(last, frame.centreX + 2.2 * w)) - x0;
  if (width == 0) {
    x0 = lastColumn;
    width = 1;
  }
  const Patch right = {x0, top, std::min(width, lastColumn - x0), height};
  return {ClipToCrop(face, left), ClipToCrop(face, right)};
}

Patch FindLowerPatch(const FaceRecord& face, const FaceFrame& frame) {
  const double w = frame.width;
  const int64_t lastColumn = int64_t{face.cropWidth} - 1, lastRow = int64_t{face.cropHeight} - 1;
  const int32_t middle = WrapAdd(frame.eyeY, frame.mouthY) / 2;
  int64_t y0 = TruncToInt32(std::min(static_cast<double>(lastRow), middle + 1.5 * w));
  int64_t height = TruncToInt32(std::min(static_cast<double>(lastRow), middle + 3.4 * w)) - y0;
  if (height == 0) {
    y0 = lastRow;
    height = 1;
  }
  height = std::min(height, lastRow - y0);
  const int64_t x0 = TruncToInt32(AtLeastZero(frame.mouthX - 1.5 * w));
  const int64_t x1 = TruncToInt32(std::min(static_cast<double>(lastColumn), frame.mouthX + 1.5 * w));
  return ClipToCrop(face, {x0, y0, std::min(x1 - x0, lastColumn - x0), height});
}

// The sum of the side patches' distances from a colour as it is defined: pixel by pixel.
double AddDistancesInOrder(const FaceRecord& face, const SidePatches& sides, const Colour& colour) {
  // The squared difference of every byte.
  double square[3][256];
  for (size_t c = 0; c < 3; ++c) {
    for (int v = 0; v < 256; ++v) square[c][v] = (v - colour[c]) * (v - colour[c]);
  }
  double sum = 0;
  const auto add = [&](const uint8_t* pixel, size_t count) {
    for (size_t x = 0; x < count; ++x, pixel += 3) {
      sum += std::sqrt(square[0][pixel[0]] + square[1][pixel[1]] + square[2][pixel[2]]);
    }
  };
  ForEachRow(face, sides.left, add);
  ForEachRow(face, sides.right, add);
  return sum;
}

// Mean distance of the side patches' pixels from their common mean colour; 0 where both are empty.
int32_t Spread(const FaceRecord& face, const SidePatches& sides, const Colour& leftSum, const Colour& rightSum) {
  const int64_t count = sides.left.Pixels() + sides.right.Pixels();
  if (count == 0) return 0;
  const Colour mean = Divide({leftSum[0] + rightSum[0], leftSum[1] + rightSum[1], leftSum[2] + rightSum[2]}, count);
  double sum = 0;
  const auto add = [&](const uint8_t* row, size_t pixels) {
    sum += ActiveKernels().addDistances(row, pixels, mean.data());
  };
  ForEachRow(face, sides.left, add);
  ForEachRow(face, sides.right, add);
  // Whatever their order, below 2^30 additions round by less than 2^-14 in the mean of distances below 2^9. Only next
  // to a whole number can that and the loop's own error decide.
  constexpr double kError = kDistanceError + 0x1p-13;
  const double distance = sum / static_cast<double>(count);
  if (TruncToInt32(distance - kError) != TruncToInt32(distance + kError)) {
    return TruncToInt32(AddDistancesInOrder(face, sides, mean) / static_cast<double>(count));
  }
  return TruncToInt32(distance);
}

}  // namespace

int32_t BackgroundScore(const FaceRecord& face, const FaceFrame& frame) {
  const SidePatches sides = FindSidePatches(face, frame);
  const Patch lower = FindLowerPatch(face, frame);
  const Colour leftSum = SumOf(face, sides.left);
  const Colour rightSum = SumOf(face, sides.right);
  const int32_t uniform = 100 - Spread(face, sides, leftSum, rightSum);

  const Colour leftMean = Divide(leftSum, sides.left.Pixels());
  const Colour rightMean = Divide(rightSum, sides.right.Pixels());
  const Colour lowerMean = Divide(SumOf(face, lower), lower.Pixels());
  double contrast = 0;
  for (size_t k = 0; k < 3; ++k) {
    contrast = std::max({contrast, std::fabs(lowerMean[k] - leftMean[k]), std::fabs(lowerMean[k] - rightMean[k])});
  }
  const int32_t apart = std::clamp(TruncToInt32(contrast * 0.5), 0, 50);
  return TruncToInt32(std::max(0, uniform) * 0.5 + apart);
}

}  // namespace qx
