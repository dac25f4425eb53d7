// A photograph as the studio is given it here: decoded by the browser, or a file that the studio itself has written.
#ifndef QX_WASM_CODEC_DECODER_H
#define QX_WASM_CODEC_DECODER_H

#include <cstdint>

#include "codec/codec.h"
#include "photo/base/image.h"
#include "wasm/codec/file_facts.h"
#include "wasm/codec/pixels.h"

namespace qx::codec {

// Bytes that begin with kHandedOver are a photograph that was decoded elsewhere, upright and in sRGB: the mark, width
// and height (32 bits each, little-endian), height * width * 4 samples red, green, blue and opacity, the colours not
// multiplied by it, and then the file, of which only what it says beside its pixels is read; it may be empty. Other
// bytes are a file that is decoded here: JPEG or PNG, see ReadJpeg and ReadPng.
inline constexpr char kHandedOver[] = "QXPIXELS";

class Decoder {
 public:
  // Throws Failure as FileSource does.
  Decoder(photo::Bytes bytes, const Limits& limits);

  int32_t Width() const { return pixels_.colours.width; }
  int32_t Height() const { return pixels_.colours.height; }
  const Pixels& Picture() const { return pixels_; }
  // On white where it is transparent. The picture itself is empty after it, unless it is transparent.
  photo::Image TakeOnWhite();
  const photo::Bytes& File() const { return file_; }
  const FileFacts& Facts() const { return facts_; }

 private:
  void TakeHandedOver(const photo::Bytes& bytes, const Limits& limits);

  Pixels pixels_;
  photo::Bytes file_;
  FileFacts facts_;
};

}  // namespace qx::codec

#endif  // QX_WASM_CODEC_DECODER_H
