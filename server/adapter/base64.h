// Bytes as text (RFC 4648, section 4).
#ifndef QX_SERVER_ADAPTER_BASE64_H
#define QX_SERVER_ADAPTER_BASE64_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "server/http/message.h"

namespace qx::server {

// Decodes into the bytes' own place and shortens them. Ends of lines are passed over, the padding may be left out.
// False for what is no such text; the bytes then hold anything.
bool DecodeBase64(Bytes* text);

size_t Base64Length(size_t bytes);
// Appends, with padding.
void AppendBase64(const uint8_t* bytes, size_t count, Bytes* text);

}  // namespace qx::server

#endif  // QX_SERVER_ADAPTER_BASE64_H
