// Names of files as text, the form in which they are given and printed.
#ifndef QX_CLI_PLATFORM_FILE_NAME_H
#define QX_CLI_PLATFORM_FILE_NAME_H

#include <filesystem>
#include <string>

namespace qx::cli {

// The text is UTF-8 where the system's names are characters (a path made of it directly would take each byte for one),
// and any bytes where they are bytes.
inline std::filesystem::path PathOf(const std::string& name) {
  return std::filesystem::u8path(name);
}

// The reverse.
inline std::string NameOf(const std::filesystem::path& path) {
  return path.u8string();
}

}  // namespace qx::cli

#endif  // QX_CLI_PLATFORM_FILE_NAME_H
