// Forms with files: multipart/form-data (RFC 7578).
#ifndef QX_SERVER_HTTP_MULTIPART_H
#define QX_SERVER_HTTP_MULTIPART_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "server/http/limits.h"
#include "server/http/message.h"

namespace qx::server {

// A part of a form; its bytes stay in the body, from `begin` on.
struct Part {
  std::string name;
  std::string fileName;  // without folders; empty where there is none
  std::string type;      // Content-Type; empty where there is none
  size_t begin = 0, size = 0;
};

// The boundary of a Content-Type that is multipart/form-data; empty for any other that has one part. Throws Problem:
// 415 for other kinds of multipart, 400 for a boundary that is missing or against the rules.
std::string BoundaryOf(std::string_view contentType);

// The parts of a whole body, in turn. Throws Problem (400) for a form that is cut short or malformed, more than
// limits.parts parts, or heads of parts beyond limits.partHeadBytes.
std::vector<Part> ParseMultipart(std::string_view body, std::string_view boundary, const Limits& limits);

// Takes the files "photo" and "mask" and the other fields as options into the request. A form for a sheet may have
// several photographs; a field "copies" behind one counts for that one alone. A single photograph stays in the memory
// of the body. Throws Problem (400) as above, for files of other names, more than limits.sheetPhotos photographs, and
// where a photograph is missing.
void TakeForm(Bytes body, std::string_view boundary, const Limits& limits, Request* request);

}  // namespace qx::server

#endif  // QX_SERVER_HTTP_MULTIPART_H
