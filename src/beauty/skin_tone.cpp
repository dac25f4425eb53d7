#include "beauty/skin_tone.h"

#include "base/buffer.h"
#include "kernels/beauty_kernels.h"

namespace qx {

Status ApplySkinToneLut(const ImageView& source, int32_t strength, uint8_t* destination) {
  if (source.pixels == nullptr || destination == nullptr || source.width < 0 || source.height < 0 || strength < 0) {
    return Status::kBadArgument;
  }
  if (strength == 0) {
    CopyBytes(destination, source.pixels, source.Bytes());
    return Status::kOk;
  }
  const double s = strength / 10.0;
  ActiveBeautyKernels().toneRow(SkinToneLut, source.pixels, static_cast<size_t>(source.Pixels()), 1.0 - s, s,
                                destination);
  return Status::kOk;
}

}  // namespace qx
