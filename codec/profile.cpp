#include "codec/profile.h"

#include <cstddef>
#include <cstdint>

namespace qx::codec {

bool IsSrgbProfile(std::string_view profile) {
  // 128 bytes of header (colour space at 16), the count of tags, 12 bytes a tag: signature, offset, length.
  const size_t size = profile.size();
  if (size < 132 || profile.substr(16, 4) != "RGB ") return false;
  auto number = [&](size_t at) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<uint8_t>(profile[at + i]);
    return size_t{value};
  };
  const size_t tags = number(128);
  for (size_t i = 0, at = 132; i < tags && at + 12 <= size; ++i, at += 12) {
    if (profile.substr(at, 4) != "desc") continue;
    const size_t offset = number(at + 4);
    // textDescriptionType: signature, four zero bytes, length, then ASCII.
    return offset <= size - 12 && profile.substr(offset, 4) == "desc" && profile.substr(offset + 12, 4) == "sRGB";
  }
  return false;
}

}  // namespace qx::codec
