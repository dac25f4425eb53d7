#include "beauty/skin_tone.h"

#include <cstring>

#include "base/buffer.h"
#include "kernels/beauty_kernels.h"

namespace qx {

int ApplySkinToneLut(const uint8_t* source, int32_t columns, int32_t rows, int32_t strength, uint8_t* destination) {
  if (source == nullptr || destination == nullptr || columns < 0 || rows < 0 || strength < 0) return -1;
  const uint64_t bytes = ImageBytes(columns, rows, 3);
  if (strength == 0) {
    std::memcpy(destination, source, bytes);
    return 0;
  }
  const double s = strength / 10.0;
  ActiveBeautyKernels().toneRow(SkinToneLut, source, bytes / 3, 1.0 - s, s, destination);
  return 0;
}

}  // namespace qx
