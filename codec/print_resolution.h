// The print size that image files carry.
#ifndef QX_CODEC_PRINT_RESOLUTION_H
#define QX_CODEC_PRINT_RESOLUTION_H

#include <optional>
#include <vips/vips8>

#include "photo/document/units.h"

namespace qx::codec {

// As FileSource::Resolution, from the picture as it is stored.
std::optional<photo::PrintResolution> ResolutionOf(const vips::VImage& image);

}  // namespace qx::codec

#endif  // QX_CODEC_PRINT_RESOLUTION_H
