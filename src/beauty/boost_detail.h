#ifndef QX_BEAUTY_BOOST_DETAIL_H
#define QX_BEAUTY_BOOST_DETAIL_H

#include <cstdint>

namespace qx {

// Sharpens a patch of width * height * 3 bytes, both sizes 1 or more, by what a guided filter smooths away: each byte
// x becomes x + 0.8 (x - 255 q), clamped and truncated, with q the filtered channel. Patch and result are distinct.
// Returns 0, or -1 when memory is short; the result is untouched then.
int BoostDetail(const uint8_t* patch, int32_t width, int32_t height, uint8_t* result);

}  // namespace qx

#endif  // QX_BEAUTY_BOOST_DETAIL_H
