// The print size that image files carry.
#ifndef QX_CODEC_PRINT_RESOLUTION_H
#define QX_CODEC_PRINT_RESOLUTION_H

#include <optional>

#include "photo/document/units.h"

namespace qx::codec {

// As FileSource::Resolution, from what the file says of the picture as it is stored: pixels a millimetre, 1 in both
// directions where it says nothing, and its orientation (EXIF 2.32, 1 to 8; 0: none).
std::optional<photo::PrintResolution> ResolutionOf(double across, double down, int orientation);

}  // namespace qx::codec

#endif  // QX_CODEC_PRINT_RESOLUTION_H
