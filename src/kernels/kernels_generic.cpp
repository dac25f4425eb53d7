// Plain C++, compiled for the baseline of the platform: no vectors, so the body does everything.
#include <cmath>

#include "kernels/kernels.h"
#include "kernels/variants.h"

namespace qx::generic {
namespace {

size_t GreyBlocks(const uint8_t*, size_t, uint8_t*) {
  return 0;
}
size_t BlendBlocks(const BlendRun&, size_t, size_t, uint8_t*) {
  return 0;
}
size_t ReverseBlocks(const uint8_t*, size_t, uint8_t*) {
  return 0;
}
Extent TurnBlocks(const uint8_t*, ptrdiff_t, size_t, size_t, uint8_t*, ptrdiff_t) {
  return {0, 0};
}
size_t ChannelBlocks(const uint8_t*, size_t, uint64_t*) {
  return 0;
}
size_t DistanceBlocks(const uint8_t*, size_t, const double*, double*) {
  return 0;
}

}  // namespace
}  // namespace qx::generic

#define QX_KERNELS_VARIANT generic
#define QX_KERNELS_NAME "generic"
#include "kernels/kernels_body.inc"
