// ZIP archives of files that are compressed already: stored as they are, with fixed dates, so that the same files make
// the same bytes every time.
#ifndef QX_SERVER_ZIP_H
#define QX_SERVER_ZIP_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "server/http/message.h"

namespace qx::server {

struct ZipFile {
  std::string name;        // UTF-8, without folders, up to 65,535 bytes; each once
  std::string_view bytes;  // stays the caller's
};

// The files in their order (PKWARE's APPNOTE 6.3.10, method 0). Throws std::length_error for more than 65,534 files or
// what is beyond 4 GB.
Bytes ZipOf(const std::vector<ZipFile>& files);

// The CRC-32 of ISO 3309, as ZIP and PNG have it.
uint32_t Crc32(std::string_view bytes);

}  // namespace qx::server

#endif  // QX_SERVER_ZIP_H
