#include "crop/resample.h"

#include <cstring>

#include "kernels/kernels.h"

namespace qx {
namespace {

constexpr uint8_t kWhite = 255;

// Turned images are made in tiles, so that the rows of the source and of the image, and their pages, stay close at
// hand.
constexpr int32_t kTileWidth = 64;   // pixels along the source's x axis
constexpr int32_t kTileHeight = 32;  // pixels along its y axis
constexpr size_t kMaxPixelBytes = 3;

size_t PixelBytes(const ImageView& source) {
  return static_cast<size_t>(source.channels);
}

// Writes output pixels [begin, end) of `along`, which runs along the source's x axis, at one place of `across`.
void RenderRun(const ImageView& source, const AxisSampling& along, int32_t begin, int32_t end,
               const AxisSampling& across, int32_t place, uint8_t* out) {
  if (begin >= end) return;  // an empty source has no rows to point at
  const size_t pixelBytes = PixelBytes(source);
  const auto count = static_cast<size_t>(end - begin);
  const int32_t y = across.First(place);
  const uint8_t* upper = source.Row(y);
  if (along.Step() != 0 && across.Fraction(place) == 0) {
    // Weights of 1 and 0 give the source's own bytes.
    if (along.Step() > 0) {
      std::memcpy(out, upper + static_cast<size_t>(along.First(begin)) * pixelBytes, count * pixelBytes);
    } else {
      const auto leftmost = static_cast<size_t>(along.First(end - 1));
      ActiveKernels().reverseRow(upper + leftmost * pixelBytes, count, pixelBytes, out);
    }
    return;
  }
  const BlendRun run = {upper,
                        source.Row(std::min(y + 1, source.height - 1)),
                        static_cast<size_t>(source.width),
                        along.FirstFrom(begin),
                        along.FractionFrom(begin),
                        across.Fraction(place)};
  ActiveKernels().blendRow(run, count, pixelBytes, out);
}

void RenderRows(const ImageView& source, const CropSampling& sampling, uint8_t* image) {
  const AxisSampling& columns = sampling.columns;
  const AxisSampling& rows = sampling.rows;
  const size_t pixelBytes = PixelBytes(source);
  const size_t stride = static_cast<size_t>(columns.Count()) * pixelBytes;
  const size_t left = static_cast<size_t>(columns.Begin()) * pixelBytes;
  for (int32_t i = rows.Begin(); i < rows.End(); ++i) {
    RenderRun(source, columns, columns.Begin(), columns.End(), rows, i, image + static_cast<size_t>(i) * stride + left);
  }
}

// One tile of a turned image: output rows [top, bottom), columns [left, right).
struct Tile {
  int32_t top, bottom, left, right;
};

// Renders the tile as the source lies, then turns it.
void BlendTile(const ImageView& source, const CropSampling& sampling, const Tile& tile, uint8_t* image) {
  uint8_t lying[kTileWidth * kTileHeight * kMaxPixelBytes];
  const size_t pixelBytes = PixelBytes(source);
  const auto width = static_cast<size_t>(tile.bottom - tile.top);
  const auto height = static_cast<size_t>(tile.right - tile.left);
  for (size_t y = 0; y < height; ++y) {
    RenderRun(source, sampling.rows, tile.top, tile.bottom, sampling.columns, tile.left + static_cast<int32_t>(y),
              lying + y * width * pixelBytes);
  }
  const size_t stride = static_cast<size_t>(sampling.columns.Count()) * pixelBytes;
  ActiveKernels().turnTile(lying, static_cast<ptrdiff_t>(width * pixelBytes), width, height, pixelBytes,
                           image + static_cast<size_t>(tile.top) * stride + static_cast<size_t>(tile.left) * pixelBytes,
                           static_cast<ptrdiff_t>(stride));
}

// The same where both axes fall on whole pixels: turns the source's own bytes.
void CopyTile(const ImageView& source, const CropSampling& sampling, const Tile& tile, uint8_t* image) {
  const AxisSampling& columns = sampling.columns;
  const AxisSampling& rows = sampling.rows;
  const size_t pixelBytes = PixelBytes(source);
  const auto stride = static_cast<ptrdiff_t>(static_cast<size_t>(columns.Count()) * pixelBytes);
  const auto sourceStride = static_cast<ptrdiff_t>(static_cast<size_t>(source.width) * pixelBytes);
  // The output row that takes the leftmost source pixel.
  const int32_t leftmost = rows.Step() > 0 ? tile.top : tile.bottom - 1;
  ActiveKernels().turnTile(
      source.Row(columns.First(tile.left)) + static_cast<size_t>(rows.First(leftmost)) * pixelBytes,
      columns.Step() * sourceStride, static_cast<size_t>(tile.bottom - tile.top),
      static_cast<size_t>(tile.right - tile.left), pixelBytes,
      image + leftmost * stride + static_cast<size_t>(tile.left) * pixelBytes, rows.Step() * stride);
}

void RenderTurned(const ImageView& source, const CropSampling& sampling, uint8_t* image) {
  const AxisSampling& columns = sampling.columns;
  const AxisSampling& rows = sampling.rows;
  const bool whole = columns.Step() != 0 && rows.Step() != 0;
  for (int32_t left = columns.Begin(), right; left < columns.End(); left = right) {
    right = left + std::min(columns.End() - left, kTileHeight);
    for (int32_t top = rows.Begin(), bottom; top < rows.End(); top = bottom) {
      bottom = top + std::min(rows.End() - top, kTileWidth);
      const Tile tile = {top, bottom, left, right};
      if (whole) {
        CopyTile(source, sampling, tile, image);
      } else {
        BlendTile(source, sampling, tile, image);
      }
    }
  }
}

// Fills what lies outside the rectangle of the pixels inside the source, and with `inside`, where given, the rest.
void Fill(const CropSampling& sampling, size_t pixelBytes, uint8_t outside, const uint8_t* inside, uint8_t* image) {
  const AxisSampling& columns = sampling.columns;
  const AxisSampling& rows = sampling.rows;
  const size_t stride = static_cast<size_t>(columns.Count()) * pixelBytes;
  const size_t begin = static_cast<size_t>(columns.Begin()) * pixelBytes;
  const size_t end = static_cast<size_t>(columns.End()) * pixelBytes;
  for (int32_t i = 0; i < rows.Count(); ++i, image += stride) {
    if (i < rows.Begin() || i >= rows.End()) {
      std::memset(image, outside, stride);
      continue;
    }
    std::memset(image, outside, begin);
    if (inside != nullptr) std::memset(image + begin, *inside, end - begin);
    std::memset(image + end, outside, stride - end);
  }
}

}  // namespace

int32_t AxisSampling::FindStep() const {
  if (end_ - begin_ < 2) return 0;
  const int32_t step = First(begin_ + 1) - First(begin_);
  if (step != 1 && step != -1) return 0;
  for (int32_t k = begin_; k < end_; ++k) {
    if (Fraction(k) != 0 || First(k) != First(begin_) + (k - begin_) * step) return 0;
  }
  return step;
}

void ResampleUpright(const ImageView& source, const CropSampling& sampling, uint8_t outside, uint8_t* image) {
  Fill(sampling, PixelBytes(source), outside, nullptr, image);
  if (sampling.turned) {
    RenderTurned(source, sampling, image);
  } else {
    RenderRows(source, sampling, image);
  }
}

void ResampleCrop(const ImageView& source, const CropSampling& sampling, uint8_t* image, uint8_t* mask) {
  const uint8_t inside = 1;
  Fill(sampling, 1, 0, &inside, mask);
  if (source.channels == 3) {
    ResampleUpright(source, sampling, kWhite, image);
    return;
  }
  // A grey crop is made in the last third of its own memory and spread from the front: the byte that is read never
  // lies before one that is written.
  const size_t pixels = static_cast<size_t>(sampling.columns.Count()) * static_cast<size_t>(sampling.rows.Count());
  const uint8_t* grey = image + 2 * pixels;
  ResampleUpright(source, sampling, kWhite, image + 2 * pixels);
  for (size_t k = 0; k < pixels; ++k) {
    const uint8_t value = grey[k];
    image[3 * k] = image[3 * k + 1] = image[3 * k + 2] = value;
  }
}

}  // namespace qx
