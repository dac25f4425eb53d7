#include "server/files.h"

#include <algorithm>
#include <array>
#include <boost/beast/zlib/deflate_stream.hpp>
#include <boost/crc.hpp>

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

void PutLittleEndian(uint32_t number, Bytes* bytes) {
  for (int shift = 0; shift < 32; shift += 8) bytes->push_back(static_cast<uint8_t>(number >> shift));
}

Bytes Gzip(const uint8_t* text, size_t size) {
  namespace zlib = boost::beast::zlib;
  zlib::deflate_stream stream;
  stream.reset(kLevel, 15, 8, zlib::Strategy::normal);
  // No name, no time: equal texts are packed into equal bytes.
  constexpr std::array<uint8_t, 10> kHead = {0x1f, 0x8b, 8, 0, 0, 0, 0, 0, 0, 255};
  Bytes packed(kHead.begin(), kHead.end());
  packed.resize(kHead.size() + stream.upper_bound(size));
  zlib::z_params step;
  step.next_in = text;
  step.avail_in = size;
  step.next_out = packed.data() + kHead.size();
  step.avail_out = packed.size() - kHead.size();
  boost::beast::error_code end;
  stream.write(step, zlib::Flush::finish, end);
  packed.resize(packed.size() - step.avail_out);
  boost::crc_32_type sum;
  sum.process_bytes(text, size);
  PutLittleEndian(sum.checksum(), &packed);
  PutLittleEndian(static_cast<uint32_t>(size), &packed);
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
