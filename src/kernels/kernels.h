// Row loops that a benchmark named, on raw pointers and counts. Each variant is compiled for one instruction set, and
// all variants give the same bytes.
#ifndef QX_KERNELS_KERNELS_H
#define QX_KERNELS_KERNELS_H

#include <cstddef>
#include <cstdint>

namespace qx {

// A run of output pixels between two rows of a source image.
struct BlendRun {
  const uint8_t* upper;    // source row at or above the position
  const uint8_t* lower;    // source row below it
  size_t extent;           // pixels in each source row, 1 or more
  const int32_t* first;    // for each output pixel, the source pixel at or left of it: 0 to extent - 1, monotonic
  const double* fraction;  // for each output pixel, the weight of the next source pixel: 0 to below 1, 0 on the last
  double lowerWeight;      // weight of the lower row, 0 to below 1
};

// pixelBytes is 1 or 3 throughout. Source and output never overlap.
struct Kernels {
  const char* name;  // of the instruction set

  // Luma of `count` pixels of three bytes (blue, green, red): (299 R + 587 G + 114 B + 500) / 1000.
  void (*greyRow)(const uint8_t* bgr, size_t count, uint8_t* grey);

  // Bilinear, rounded half up. With gx = 1 - fx and gy = 1 - fy, every byte is the double
  // ((P00 * gx) * gy + (P01 * gx) * fy + (P10 * fx) * gy + (P11 * fx) * fy) + 0.5, added from left to right, truncated;
  // P00 upper left, P01 lower left, P10 upper right, P11 lower right. The groupings are part of the result.
  void (*blendRow)(const BlendRun& run, size_t count, size_t pixelBytes, uint8_t* out);

  // Copies `count` pixels, the last first.
  void (*reverseRow)(const uint8_t* source, size_t count, size_t pixelBytes, uint8_t* out);

  // Swaps rows and columns: output row x, column y takes source row y, column x. Strides are bytes from one row to
  // the next and may be negative.
  void (*turnTile)(const uint8_t* source, ptrdiff_t sourceStride, size_t width, size_t height, size_t pixelBytes,
                   uint8_t* out, ptrdiff_t outStride);

  // Adds the channels of `count` pixels of three bytes.
  void (*addChannels)(const uint8_t* bgr, size_t count, uint64_t sums[3]);

  // The sum of the distances of `count` pixels of three bytes from a colour, whose channels are 0 to 255. The only loop
  // here whose results may differ between variants: each distance is off by less than kDistanceError, and adding them
  // rounds as doubles do.
  double (*addDistances)(const uint8_t* bgr, size_t count, const double colour[3]);
};

// Floats keep to it: rounding a channel of the colour and taking it off errs by 2^-17 each, so all three by less than
// sqrt(3) 2^-16; squares, sums and root err by 2.5 units of 2^-24 of at most 442.
inline constexpr double kDistanceError = 0x1p-13;

// Plain C++ for every processor.
const Kernels& GenericKernels();

// The fastest variant that this processor runs.
const Kernels& ActiveKernels();

// For tests that hold the library's results against each other: from now on the active variants are the plain ones, or
// the fastest again. Not while another thread works.
void UsePlainKernels(bool plain);

}  // namespace qx

#endif  // QX_KERNELS_KERNELS_H
