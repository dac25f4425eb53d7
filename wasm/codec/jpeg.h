// JPEG files by libjpeg.
#ifndef QX_WASM_CODEC_JPEG_H
#define QX_WASM_CODEC_JPEG_H

#include <cstdint>
#include <vector>

#include "photo/base/image.h"
#include "wasm/codec/pixels.h"

namespace qx::codec {

// A JPEG file (ITU-T T.81) without a JFIF header or other metadata, of red, green and blue, three samples a pixel.
// `quality` 1 to 100; colour at its full or half resolution. Throws Failure (kOutOfMemory).
std::vector<uint8_t> WriteJpeg(const photo::Bytes& samples, int32_t width, int32_t height, int quality,
                               bool isFullColour, bool isOptimised);

bool IsJpeg(const photo::Bytes& file);

// Of grey, or luminance and colour differences, taken as sRGB and as it lies in the file. Throws Failure: kDamagedFile,
// kTooLarge, and kNotAPicture for what is to be turned, has other colours or a profile of other ones.
Pixels ReadJpeg(const photo::Bytes& file, int64_t mostPixels);

}  // namespace qx::codec

#endif  // QX_WASM_CODEC_JPEG_H
