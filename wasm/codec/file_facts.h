// What a file says of itself beside its pixels, whoever decodes these.
#ifndef QX_WASM_CODEC_FILE_FACTS_H
#define QX_WASM_CODEC_FILE_FACTS_H

#include <optional>

#include "photo/base/image.h"
#include "photo/document/units.h"

namespace qx::codec {

struct FileFacts {
  int orientation = 0;                               // EXIF 2.32, 1 to 8; 0: none
  std::optional<photo::PrintResolution> resolution;  // as FileSource::Resolution
};

// Of JPEG (JFIF, EXIF) and PNG files. Of others, and of what is damaged, nothing.
FileFacts FactsOf(const photo::Bytes& file);

// Whether a JPEG file has a colour profile that is not that of sRGB.
bool HasOtherProfile(const photo::Bytes& jpeg);

}  // namespace qx::codec

#endif  // QX_WASM_CODEC_FILE_FACTS_H
