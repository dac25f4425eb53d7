// Limits of size of finished documents, whatever encodes them.
#ifndef QX_CODEC_DOCUMENT_H
#define QX_CODEC_DOCUMENT_H

#include <cstdint>
#include <optional>
#include <vector>

#include "codec/codec.h"
#include "photo/base/image.h"

namespace qx::codec {

// A picture that is encoded, perhaps more than once. Calls throw what the encoding library throws, or Failure.
class PictureEncoder {
 public:
  virtual ~PictureEncoder() = default;

  virtual std::vector<uint8_t> Png() const = 0;
  // `quality` 1 to 100; colour at its full or half resolution. Without a JFIF header or other metadata.
  virtual std::vector<uint8_t> Jpeg(int quality, bool isFullColour, bool isOptimised) const = 0;
};

// In bytes, both included.
struct SizeLimits {
  int64_t floor, ceiling;
};

// Throws Failure (kBadOption) when no size meets both.
SizeLimits LimitsOf(std::optional<int32_t> minKb, std::optional<int32_t> maxKb);

// As EncodeDocument. Of a PNG the resolution is the encoder's affair. Throws Failure (kFileSize).
EncodedDocument FitDocument(const PictureEncoder& encoder, ImageFormat format, int32_t dpi, const SizeLimits& limits,
                            bool isTransparent);

// Throws Failure when the opacity (empty: none) is not of the image's size, or the format has none.
void CheckOpacity(const photo::Image& image, const photo::Mask& opacity, ImageFormat format);

}  // namespace qx::codec

#endif  // QX_CODEC_DOCUMENT_H
