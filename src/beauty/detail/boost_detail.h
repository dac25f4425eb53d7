#ifndef QX_BEAUTY_DETAIL_BOOST_DETAIL_H
#define QX_BEAUTY_DETAIL_BOOST_DETAIL_H

#include <cstdint>

#include "base/image_view.h"
#include "base/status.h"

namespace qx {

// Sharpens a patch of three channels by what a guided filter smooths away: each byte x becomes x + 0.8 (x - 255 q),
// clamped and truncated, with q the filtered channel. Patch and result have the same size and are distinct.
// kOk, or kMemoryShort; the result is untouched then.
Status BoostDetail(const ImageView& patch, uint8_t* result);

}  // namespace qx

#endif  // QX_BEAUTY_DETAIL_BOOST_DETAIL_H
