// Files of the page, and how text travels.
#ifndef QX_SERVER_HTTP_FILES_H
#define QX_SERVER_HTTP_FILES_H

#include <string_view>

#include "server/http/message.h"

namespace qx::server {

struct File {
  std::string_view path;         // "/" or "/assets/main-5f2c.js"
  std::string_view type;         // "text/html; charset=utf-8"
  std::string_view etag;         // with its quotation marks
  std::string_view bytes;        // as long as the program
  bool hashed = false;           // the path changes with the bytes: a browser may keep it for good
  std::string_view policy = {};  // what the page may do, in place of what is usual here (Content-Security-Policy)
};

// 200 with the file, or 304 when the client has it.
Response FileResponse(const File& file, std::string_view ifNoneMatch);

// Whether one of the tags of If-None-Match is this one (RFC 9110, weak comparison), or all are meant by "*".
bool HasTag(std::string_view ifNoneMatch, std::string_view etag);

// Packs an answer of text for a client that unpacks gzip (RFC 1952), where that saves a packet; its tag becomes a weak
// one, since the bytes are others. Pictures are packed already and stay as they are.
void PackText(Response* response, bool acceptsGzip);

}  // namespace qx::server

#endif  // QX_SERVER_HTTP_FILES_H
