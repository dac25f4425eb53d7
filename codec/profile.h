// Colour profiles (ICC.1), as far as it takes to know the one that needs no conversion.
#ifndef QX_CODEC_PROFILE_H
#define QX_CODEC_PROFILE_H

#include <string_view>

namespace qx::codec {

// True when a profile is sRGB by its own description. Such pixels are taken as they are, which is exact and quick; a
// conversion would go through another colour space and back.
bool IsSrgbProfile(std::string_view profile);

}  // namespace qx::codec

#endif  // QX_CODEC_PROFILE_H
