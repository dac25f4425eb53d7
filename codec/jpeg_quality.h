// How strongly a JPEG file was compressed, told from its tables.
#ifndef QX_CODEC_JPEG_QUALITY_H
#define QX_CODEC_JPEG_QUALITY_H

#include <optional>

#include "photo/base/image.h"
#include "photo/document/units.h"

namespace qx::codec {

// The quality whose quantisation tables the file holds: those of ITU-T T.81, Annex K, scaled as the Independent JPEG
// Group's library does. For other tables, the one whose luminance table has the nearest mean. Reads the file's header
// only. Nothing where that is no JPEG's or ends too early.
std::optional<photo::JpegQuality> QualityOf(const photo::Bytes& file);

}  // namespace qx::codec

#endif  // QX_CODEC_JPEG_QUALITY_H
