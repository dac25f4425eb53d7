#include "web/page.h"

#include <cstddef>

extern "C" const unsigned char qx_page_bytes[];

namespace qx::web {
namespace {

struct Row {
  const char* path;
  const char* type;
  const char* etag;
  size_t offset, length;
  bool hashed;
};

constexpr Row kRows[] = {
#include "page_table.inc"
};

}  // namespace

std::vector<PageFile> PageFiles() {
  const char* const bytes = reinterpret_cast<const char*>(qx_page_bytes);
  std::vector<PageFile> files;
  for (const Row& row : kRows) {
    files.push_back({row.path, row.type, row.etag, {bytes + row.offset, row.length}, row.hashed});
  }
  return files;
}

}  // namespace qx::web
