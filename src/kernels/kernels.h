// Row loops that a benchmark named. Each has one body, compiled once for every instruction set, and all variants
// give the same bytes.
#ifndef QX_KERNELS_KERNELS_H
#define QX_KERNELS_KERNELS_H

#include <cstddef>
#include <cstdint>

namespace qx {

struct Kernels {
  // Luma of `count` pixels of three bytes (blue, green, red): (299 R + 587 G + 114 B + 500) / 1000.
  void (*greyRow)(const uint8_t* bgr, size_t count, uint8_t* grey);
};

// The fastest variant that this processor runs.
const Kernels& ActiveKernels();

}  // namespace qx

#endif  // QX_KERNELS_KERNELS_H
