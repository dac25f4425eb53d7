// Row loops of the retouching stages, on raw pointers and counts. As with the others, each variant is compiled for one
// instruction set, and all variants give the same bytes: those of the operations in the order in which they are written
// here, in the precision of their operands.
#ifndef QX_KERNELS_BEAUTY_KERNELS_H
#define QX_KERNELS_BEAUTY_KERNELS_H

#include <cstddef>
#include <cstdint>

namespace qx {

// An image to sample from: rows without gaps.
struct SampleSource {
  const uint8_t* pixels;
  int32_t width, height;
};

// A run of output pixels (x, x + 1, ...) of one row, with the affine map of positions into the source:
// sx = (xAlong * x + xRow + xConstant) / determinant, sy alike, added from left to right.
struct AffineRun {
  double xAlong, xRow, xConstant;
  double yAlong, yRow, yConstant;
  double determinant;
  int32_t x;
};

// The detail filter keeps eight doubles a pixel, the lanes: of sums and means those of I, p0, p1, p2 and I times each
// of these, where I is the guide and p the channels over 255; later four with a in the last three and four with b.
inline constexpr size_t kDetailLanes = 8;
// Half the side of the filter's square, without its middle.
inline constexpr size_t kDetailRadius = 8;

struct BeautyKernels {
  // Looks pixels of three bytes (blue, green, red) up in a table of 32 x 32 x 32 entries (red, green, blue; red the
  // slowest axis), trilinear in eighths; the last entry of an axis is its own upper neighbour. What comes out is
  // blended with the input: input * t + looked up * s, truncated; the low byte counts. Beyond int32 that byte is 0.
  void (*toneRow)(const uint8_t* table, const uint8_t* bgr, size_t count, double t, double s, uint8_t* out);

  // Source positions of pixels dx, dx + 1, ... in a row dy away from the centre of a lens. radii: the source radius s
  // by dx * dx + dy * dy, below 2^24, not a number for a pixel that stays. With r the root, sx = s * dx / r + centreX.
  void (*lensPositions)(const float* radii, int32_t dx, int32_t dy, float centreX, float centreY, size_t count,
                        float* sx, float* sy);

  // Bilinear samples of three bytes in single precision, (lower right * fx + lower left * (1 - fx)) * fy + (upper right
  // * fx + upper left * (1 - fx)) * (1 - fy), truncated. Black where the position is not in 0 to below width - 1, or
  // height - 1; a pixel whose position is not a number is left alone.
  void (*lensSamples)(const SampleSource& source, const float* sx, const float* sy, size_t count, uint8_t* out);

  // Bilinear samples in doubles, upper left * (1 - fx) * (1 - fy) + lower left * (1 - fx) * fy + upper right * fx *
  // (1 - fy) + lower right * fx * fy, truncated. Neighbours are clamped to the image, fractions taken before that.
  // mask: of the image's size, one byte a pixel; null together with maskOut.
  void (*affineSamples)(const SampleSource& source, const uint8_t* mask, const AffineRun& run, size_t count,
                        uint8_t* out, uint8_t* maskOut);

  // The guide (0.587 * byte 1 + 0.299 * byte 0 + 0.114 * byte 2) / 255 of each pixel.
  void (*detailGuide)(const uint8_t* pixels, size_t count, double* guide);

  // Adds the lanes of one row of pixels to sums. overFull: byte / 255 for every byte.
  void (*detailAccumulate)(const uint8_t* pixels, const double* guide, const double* overFull, size_t count,
                           double* sums);

  // Means of one row out of sums down the columns: upTo less before (null: nothing), summed up along the row, the
  // difference of that over the square, divided by its pixels inside the image, of which there are `rows` down.
  // cumulative: as many lanes of scratch. mean may not overlap the inputs.
  void (*detailMeans)(const double* upTo, const double* before, size_t count, double rows, double* cumulative,
                      double* mean);

  // a = (mean of I p - mean I * mean p) / (mean of I I - mean I * mean I + eps) and b = mean p - a * mean I of one row,
  // added to the row of sums before into sums.
  void (*detailCoefficients)(const double* mean, double eps, size_t count, const double* before, double* sums);

  // With q = mean a * I + mean b: (x * 3.0 / 255 - q * 2.0) * 255 * 0.4 + x * 0.6, held to 0 to 255 and truncated.
  // threeOverFull: x * 3.0 / 255 for every byte x.
  void (*detailBoost)(const double* mean, const double* guide, const double* threeOverFull, const uint8_t* pixels,
                      size_t count, uint8_t* out);

  // Pixel k of `count` becomes the mean of the pixels k to k + taps - 1 of a line, weighted by products[256 * tap +
  // mask value], added tap by tap and truncated, unless the mask value of the middle one is 0. lanes: four doubles a
  // pixel of the line, 1 and the three bytes; taps: odd; weights: above 0 for a mask value above 0. Outputs are three
  // bytes, each `outStep` bytes after the one before.
  void (*maskedMeans)(const double* lanes, const uint8_t* mask, const double* products, size_t taps, size_t count,
                      uint8_t* out, size_t outStep);

  // upper * (1 - weight) + lower * weight, truncated; it is 0 to below 256.
  void (*mixRow)(const double* upper, const double* lower, double weight, size_t count, uint8_t* out);
};

// Plain C++ for every processor.
const BeautyKernels& GenericBeautyKernels();

// The fastest variant that this processor runs.
const BeautyKernels& ActiveBeautyKernels();

}  // namespace qx

#endif  // QX_KERNELS_BEAUTY_KERNELS_H
