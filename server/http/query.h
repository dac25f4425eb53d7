// The target of a request: path and query, decoded.
#ifndef QX_SERVER_HTTP_QUERY_H
#define QX_SERVER_HTTP_QUERY_H

#include <string>
#include <string_view>
#include <vector>

#include "server/http/limits.h"
#include "server/http/message.h"

namespace qx::server {

struct Target {
  std::string authority;              // of "http://HOST/PATH", as a proxy asks; else empty
  bool everything = false;            // "*", as OPTIONS may ask
  std::vector<std::string> segments;  // of the path, none for "/"; none is empty, "." or ".."
  Pairs query;
};

// Reads a request's target. One path has one way to be written here: whatever could be another name for it (empty
// segments, dots, encoded slashes, backslashes, control characters, text that is not UTF-8) is refused rather than
// tidied up, since those in front may tidy differently. Throws Problem (400).
Target ParseTarget(std::string_view target, const Limits& limits);

// Pairs of "a=1&b=two+words", decoded; a name without "=" has an empty value. Throws Problem (400) for more than
// limits.parts pairs, names and values beyond their lengths or control characters in them.
Pairs ParseQuery(std::string_view query, const Limits& limits);

// Throws Problem (400) unless the name and the value of an option are of usual length and of printable UTF-8.
void CheckOption(std::string_view name, std::string_view value, const Limits& limits);

}  // namespace qx::server

#endif  // QX_SERVER_HTTP_QUERY_H
