#include "server/http/files.h"

#include <zlib.h>

#include <algorithm>
#include <memory>
#include <new>
#include <stdexcept>

namespace qx::server {
namespace {

// Shorter texts fit into one packet as they are.
constexpr size_t kWorthPacking = 1400;
// Where more work hardly saves bytes any more.
constexpr int kLevel = 6;

bool IsText(std::string_view type) {
  const std::string_view name = type.substr(0, type.find(';'));
  return name.substr(0, 5) == "text/" || name == "application/json" || name == "image/svg+xml";
}

// No name, no time: equal texts are packed into equal bytes.
Bytes Gzip(const uint8_t* text, size_t size) {
  constexpr int kWindow = 15, kAsGzip = 16, kMemory = 8;
  z_stream stream = {};
  if (deflateInit2(&stream, kLevel, Z_DEFLATED, kWindow + kAsGzip, kMemory, Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::bad_alloc();
  }
  const std::unique_ptr<z_stream, int (*)(z_stream*)> end(&stream, deflateEnd);
  Bytes packed(deflateBound(&stream, size));
  stream.next_in = const_cast<uint8_t*>(text);  // it is only read
  stream.avail_in = static_cast<uInt>(size);
  stream.next_out = packed.data();
  stream.avail_out = static_cast<uInt>(packed.size());
  if (deflate(&stream, Z_FINISH) != Z_STREAM_END) throw std::runtime_error("a text cannot be packed");
  packed.resize(stream.total_out);
  return packed;
}

}  // namespace

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
  if (!file.policy.empty()) response.headers.emplace_back("Content-Security-Policy", std::string(file.policy));
  if (HasTag(ifNoneMatch, file.etag)) {
    response.status = 304;
    return response;
  }
  response.headers.emplace_back("Content-Type", std::string(file.type));
  response.headers.emplace_back("Accept-Ranges", "none");  // a Range is ignored: nothing here is large
  response.still = file.bytes;
  return response;
}

void PackText(Response* response, bool acceptsGzip) {
  std::string* tag = nullptr;
  bool isText = false;
  for (auto& [name, value] : response->headers) {
    if (name == "Content-Type") isText = IsText(value);
    if (name == "ETag") tag = &value;
  }
  if (!isText || response->status != 200 || response->Size() < kWorthPacking) return;
  const std::string_view still = response->still;
  if (acceptsGzip) {
    response->body = still.empty() ? Gzip(response->body.data(), response->body.size())
                                   : Gzip(reinterpret_cast<const uint8_t*>(still.data()), still.size());
    response->still = {};
    if (tag) tag->insert(0, "W/");
    response->headers.emplace_back("Content-Encoding", "gzip");
  }
  response->headers.emplace_back("Vary", "Accept-Encoding");
}

}  // namespace qx::server
