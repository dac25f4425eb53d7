// What decoding gives, whoever decodes.
#ifndef QX_WASM_CODEC_PIXELS_H
#define QX_WASM_CODEC_PIXELS_H

#include <cstdint>
#include <string>

#include "photo/base/failure.h"
#include "photo/base/image.h"

namespace qx::codec {

struct Pixels {
  photo::Image colours;  // not multiplied by the opacity
  photo::Mask opacity;   // of the same size; empty where the picture is opaque throughout
};

// From `channels` samples a pixel: 1 (grey), 3 (red, green, blue) or 4 (and opacity), of width x height pixels.
Pixels PixelsOf(const uint8_t* samples, int32_t width, int32_t height, int channels);

// Red, green, blue and, with an opacity of the image's size, that.
photo::Bytes SamplesOf(const photo::Image& image, const photo::Mask& opacity);

// Throws Failure (kTooLarge) beyond the limit; sides are 1 or above.
void CheckSize(int64_t width, int64_t height, int64_t mostPixels);

photo::Failure Damaged(const std::string& format);
// Of a file that a browser shows and that is not read here.
photo::Failure ForTheBrowser(const std::string& format);

}  // namespace qx::codec

#endif  // QX_WASM_CODEC_PIXELS_H
