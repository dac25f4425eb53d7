#include "kernels/kernels.h"

namespace qx {
namespace {

void GreyRow(const uint8_t* bgr, size_t count, uint8_t* grey) {
  for (size_t i = 0; i < count; ++i, bgr += 3) {
    grey[i] = static_cast<uint8_t>((299u * bgr[2] + 587u * bgr[1] + 114u * bgr[0] + 500u) / 1000u);
  }
}

constexpr Kernels kGeneric = {GreyRow};

}  // namespace

const Kernels& ActiveKernels() {
  return kGeneric;
}

}  // namespace qx
