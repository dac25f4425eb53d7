// Encoding: pixels to the bytes of files.
#ifndef QX_CODEC_ENCODE_H
#define QX_CODEC_ENCODE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>
#include <vips/vips8>

#include "codec/codec.h"
#include "codec/document.h"
#include "photo/base/failure.h"
#include "photo/base/image.h"

namespace qx::codec {

// Its calls throw vips::VError.
class Encoder final : public PictureEncoder {
 public:
  // With an opacity of the image's size it is one for PNG alone, and both outlive the encoder.
  Encoder(const photo::Image& image, const photo::Mask& opacity, std::optional<int32_t> dpi);
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  std::vector<uint8_t> Png() const override;
  std::vector<uint8_t> Jpeg(int quality, bool isFullColour, bool isOptimised) const override;
  std::vector<uint8_t> Tiff() const;

 private:
  photo::Bytes samples_;  // red, green, blue; of a transparent picture none
  vips::VImage rgb_;      // with the opacity, if there is one
};

photo::Failure EncodingFailure(const std::string& message);

}  // namespace qx::codec

#endif  // QX_CODEC_ENCODE_H
