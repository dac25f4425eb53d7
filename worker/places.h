// Where a worker may read and write: jobs come from others, and must not lead it anywhere else.
#ifndef QX_WORKER_PLACES_H
#define QX_WORKER_PLACES_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::worker {

// Of the web. Only what every reader of addresses takes for the same one is an address here.
struct WebAddress {
  bool secure = true;  // https
  std::string host;    // small letters; a number of IPv6 in brackets
  int port = 443;
  std::string path;  // from "/" on, without the query
  bool hasQuery = false;
};

// None for other text, and for addresses whose path could be read as another one: with "..", "\", "@", "#", a "." that
// is a whole part, or an escaped dot, slash, backslash, percent sign or control character.
std::optional<WebAddress> ParseWebAddress(std::string_view text);

// Whether the path is the folder or lies in it at any depth. Both absolute, without links, "." and "..".
bool IsBelow(std::string_view path, std::string_view folder);

class Places {
 public:
  // An absolute path without links, "." and "..".
  void AddFolder(std::string folder) { folders_.push_back(std::move(folder)); }
  // What lies below it, as if it ended in "/".
  void AddAddress(WebAddress address);

  bool HasPath(std::string_view path) const;
  bool HasAddress(const WebAddress& address) const;
  bool IsEmpty() const { return folders_.empty() && addresses_.empty(); }

 private:
  std::vector<std::string> folders_;
  std::vector<WebAddress> addresses_;
};

}  // namespace qx::worker

#endif  // QX_WORKER_PLACES_H
