#include "face/grey_convert.h"

#include "base/buffer.h"
#include "kernels/kernels.h"

namespace qx {

void GreyConvert(const uint8_t* bgr, int32_t rows, int32_t columns, uint8_t* grey) {
  // Rows have no gap, so the whole image is one run of pixels.
  ActiveKernels().greyRow(bgr, ImageBytes(columns, rows, 1), grey);
}

}  // namespace qx
