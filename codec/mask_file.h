// Masks that were made elsewhere.
#ifndef QX_CODEC_MASK_FILE_H
#define QX_CODEC_MASK_FILE_H

#include <filesystem>

#include "photo/base/image.h"

namespace qx::codec {

// Reads a mask for an upright photograph of width x height pixels: the transparency of a picture that has any (such as
// a cut-out person), else its grey value, white for the person. Throws Failure for everything that is not a whole
// picture of that size, and for a mask without any person in it.
photo::Mask ReadMask(const std::filesystem::path& path, int32_t width, int32_t height);

}  // namespace qx::codec

#endif  // QX_CODEC_MASK_FILE_H
