// Finished documents as files: resolution, no traces of the photograph, and a size in kilobytes.
#ifndef QX_CODEC_DOCUMENT_FILE_H
#define QX_CODEC_DOCUMENT_FILE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "codec/image_file.h"
#include "photo/document/presets.h"

namespace qx::codec {

struct EncodedDocument {
  std::vector<uint8_t> bytes;
  int quality = 0;             // of a JPEG
  size_t padding = 0;          // bytes of blanks in comments, which only make the file larger
  std::string Remark() const;  // on how a size limit was met, for people; empty when none changed anything
  bool limited = false;        // the quality differs from the usual one because of a limit
};

inline constexpr int kUsualQuality = 95, kLowestQuality = 30;

// The picture with its resolution and no other metadata, sRGB. A JPEG has quality 95, or the highest one that keeps
// the file at or below maxKb (with colour at half resolution where quality 80 is too large); below minKb the quality
// goes up to 100, and then comments of blanks follow the header. Throws Failure when even quality 30 is too large, when
// blanks would break the ceiling, or when a PNG, whose size is what it is, breaks a limit.
EncodedDocument EncodeDocument(const photo::Image& image, ImageFormat format, int32_t dpi, std::optional<int32_t> minKb,
                               std::optional<int32_t> maxKb);

}  // namespace qx::codec

#endif  // QX_CODEC_DOCUMENT_FILE_H
