// PNG files as the studio writes them, written and read back. Pictures of other people's are decoded by the browser, so
// that a library for every kind of PNG would be dead weight on the way to the visitor.
#ifndef QX_WASM_CODEC_PNG_H
#define QX_WASM_CODEC_PNG_H

#include <cstdint>
#include <optional>
#include <vector>

#include "photo/base/image.h"
#include "wasm/codec/pixels.h"

namespace qx::codec {

// A PNG file (ISO/IEC 15948) of 8 bits a sample: `channels` of them a pixel, 1 (grey), 3 (red, green, blue) or 4 (and
// opacity), height * width * channels in all. With its resolution in pixels an inch, if that is told. Throws Failure
// (kOutOfMemory).
std::vector<uint8_t> WritePng(const photo::Bytes& samples, int32_t width, int32_t height, int channels,
                              std::optional<int32_t> dpi);

bool IsPng(const photo::Bytes& file);

// Throws Failure: kDamagedFile, kTooLarge, and kNotAPicture for palettes, other depths than 8 bits, interlacing, a
// colour that is transparent, and profiles of other colours than sRGB. Bare numbers on its colours are not heeded.
Pixels ReadPng(const photo::Bytes& file, int64_t mostPixels);

}  // namespace qx::codec

#endif  // QX_WASM_CODEC_PNG_H
