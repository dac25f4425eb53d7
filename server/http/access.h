// Who may ask: hosts that are ours and pages that are ours.
#ifndef QX_SERVER_HTTP_ACCESS_H
#define QX_SERVER_HTTP_ACCESS_H

#include <string>
#include <string_view>
#include <vector>

namespace qx::server {

// Whether two words of ASCII are the same but for capitals.
bool SameWord(std::string_view one, std::string_view other);

// The host of "HOST", "HOST:PORT" or "[ADDRESS]:PORT", in small letters and without brackets; empty when it is none of
// these.
std::string HostOf(std::string_view authority);

// A page of a stranger can point a name of its own at this computer and so ask as if it were ours (DNS rebinding):
// then Host is that name. Ports are not compared, since a tunnel or a container may stand in between.
class HostList {
 public:
  // The names that an address may be called by: those of the own computer for a loopback address, otherwise the
  // address itself; `more` beside these. Without `more`, "any address" (0.0.0.0, ::) takes every name, since the token
  // keeps strangers' pages out.
  HostList(const std::string& address, bool loopback, const std::vector<std::string>& more);

  bool Takes(std::string_view authority) const;

 private:
  std::vector<std::string> names_;
  bool any_ = false;
};

// Whether a request that changes something comes from our own page, or from no page at all. A browser names the page
// in Origin (RFC 6454), which a page cannot choose.
bool IsOwnOrigin(std::string_view origin, std::string_view authority);

// "https://studio.example" as browsers write it in Origin: small letters, no port where it is the scheme's own, nothing
// behind it. Empty for what is none, "*" and "null" among that.
std::string OriginOf(std::string_view text);

}  // namespace qx::server

#endif  // QX_SERVER_HTTP_ACCESS_H
