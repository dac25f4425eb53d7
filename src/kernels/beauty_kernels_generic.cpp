// Plain C++, compiled for the baseline of the platform: no vectors of our own, so the body does everything.
#include <math.h>
#include <string.h>

#include "kernels/beauty_kernels.h"
#include "kernels/variants.h"

namespace qx::generic {
namespace {

size_t ToneBlocks(const uint8_t*, const uint8_t*, size_t, double, double, uint8_t*) {
  return 0;
}
size_t LensPositionBlocks(const float*, int32_t, int32_t, float, float, size_t, float*, float*) {
  return 0;
}
size_t LensSampleBlocks(const SampleSource&, const float*, const float*, size_t, uint8_t*) {
  return 0;
}
size_t AffineSampleBlocks(const SampleSource&, const uint8_t*, const AffineRun&, size_t k, size_t, uint8_t*, uint8_t*) {
  return k;
}

}  // namespace
}  // namespace qx::generic

#define QX_KERNELS_VARIANT generic
#include "kernels/beauty_kernels_body.inc"
