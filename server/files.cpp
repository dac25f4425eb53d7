#include "server/files.h"

#include <algorithm>

namespace qx::server {

bool HasTag(std::string_view ifNoneMatch, std::string_view etag) {
  // Our tags hold neither commas nor spaces, so that a list may be cut at these.
  while (!ifNoneMatch.empty()) {
    const size_t end = std::min(ifNoneMatch.find_first_of(", \t"), ifNoneMatch.size());
    std::string_view tag = ifNoneMatch.substr(0, end);
    if (tag.substr(0, 2) == "W/") tag.remove_prefix(2);
    if (!tag.empty() && (tag == etag || tag == "*")) return true;
    ifNoneMatch.remove_prefix(std::min(end + 1, ifNoneMatch.size()));
  }
  return false;
}

Response FileResponse(const File& file, std::string_view ifNoneMatch) {
  Response response;
  response.headers = {{"ETag", std::string(file.etag)},
                      {"Cache-Control", file.hashed ? "public, max-age=31536000, immutable" : "no-cache"}};
  if (HasTag(ifNoneMatch, file.etag)) {
    response.status = 304;
    return response;
  }
  response.headers.emplace_back("Content-Type", std::string(file.type));
  response.headers.emplace_back("Accept-Ranges", "none");  // a Range is ignored: nothing here is large
  response.still = file.bytes;
  return response;
}

}  // namespace qx::server
