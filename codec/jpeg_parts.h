// Segments of JPEG files that are written byte by byte.
#ifndef QX_CODEC_JPEG_PARTS_H
#define QX_CODEC_JPEG_PARTS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "codec/codec.h"
#include "photo/base/image.h"

namespace qx::codec {

// The first segment of a JPEG file (JFIF 1.02, ITU-T T.871): marker, length, name, version 1.1, pixels an inch in both
// directions (up to 65,535), no thumbnail.
inline std::vector<uint8_t> JfifSegment(int32_t dpi) {
  const auto high = static_cast<uint8_t>(dpi >> 8), low = static_cast<uint8_t>(dpi);
  return {0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F', 0, 1, 1, 1, high, low, high, low, 0, 0};
}

// Bytes of blanks to add where that many are missing, 1 or more.
inline size_t PaddingFor(int64_t missing) {
  return static_cast<size_t>(std::max<int64_t>(missing, 4));
}

// Adds comment segments (ITU-T T.81, B.2.4.5: marker, then a length that counts itself) of blanks right after the
// file's first segment, the JFIF header. `bytes` is at least 4.
void PadJpeg(std::vector<uint8_t>* file, size_t bytes);

// As FileSource::Repacked, of a file that need not be turned.
std::optional<EncodedDocument> RepackedJpeg(const photo::Bytes& file, int32_t dpi, std::optional<int32_t> minKb,
                                            std::optional<int32_t> maxKb);

}  // namespace qx::codec

#endif  // QX_CODEC_JPEG_PARTS_H
