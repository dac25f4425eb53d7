#ifndef QX_BEAUTY_SKIN_TONE_H
#define QX_BEAUTY_SKIN_TONE_H

#include <cstddef>
#include <cstdint>

namespace qx {

// The colour table: 32 x 32 x 32 entries of output red, green, blue; red is the slowest axis and blue the fastest, and
// grid coordinate i stands for the input value 8 i. Made by scripts/make_skin_tone_lut.py.
inline constexpr size_t kSkinToneLutBytes = 32 * 32 * 32 * 3;
extern "C" const unsigned char SkinToneLut[];

// Passes every pixel through the colour table, trilinear, and blends it over the input by strength / 10, which is not
// capped. Images are rows * columns * 3 bytes and distinct. Returns 0, or -1 for a null image or a negative number.
int ApplySkinToneLut(const uint8_t* source, int32_t columns, int32_t rows, int32_t strength, uint8_t* destination);

}  // namespace qx

#endif  // QX_BEAUTY_SKIN_TONE_H
