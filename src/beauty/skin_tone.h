#ifndef QX_BEAUTY_SKIN_TONE_H
#define QX_BEAUTY_SKIN_TONE_H

#include <cstddef>
#include <cstdint>

#include "base/image_view.h"
#include "base/status.h"

namespace qx {

// The colour table: 32 x 32 x 32 entries of output red, green, blue; red is the slowest axis and blue the fastest, and
// grid coordinate i stands for the input value 8 i. Made by scripts/make_skin_tone_lut.py.
inline constexpr size_t kSkinToneLutBytes = 32 * 32 * 32 * 3;
extern "C" const unsigned char SkinToneLut[];

// Passes every pixel through the colour table, trilinear, and blends it over the input by strength / 10, which is not
// capped. The images have three channels, the same size, and are distinct. kOk, or kBadArgument for a null image or a
// negative number.
Status ApplySkinToneLut(const ImageView& source, int32_t strength, uint8_t* destination);

}  // namespace qx

#endif  // QX_BEAUTY_SKIN_TONE_H
