#include "server/access.h"

#include <algorithm>

namespace qx::server {
namespace {

char Small(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool IsPort(std::string_view text) {
  return text.size() <= 5 && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

bool SameWord(std::string_view one, std::string_view other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](char a, char b) { return Small(a) == Small(b); });
}

std::string HostOf(std::string_view authority) {
  std::string_view host, port;
  if (!authority.empty() && authority[0] == '[') {
    const size_t end = authority.find(']');
    if (end == std::string_view::npos) return "";
    host = authority.substr(1, end - 1);
    port = authority.substr(end + 1);
  } else {
    const size_t end = std::min(authority.find(':'), authority.size());
    host = authority.substr(0, end);
    port = authority.substr(end);
  }
  if (!port.empty() && (port[0] != ':' || !IsPort(port.substr(1)))) return "";
  std::string name(host);
  std::transform(name.begin(), name.end(), name.begin(), Small);
  return name;
}

HostList::HostList(const std::string& address, bool loopback, const std::vector<std::string>& more) {
  if (loopback) {
    names_ = {"localhost", "127.0.0.1", "::1"};
  } else if (address == "0.0.0.0" || address == "::") {
    any_ = more.empty();
  }
  names_.push_back(address);
  for (const std::string& name : more) names_.push_back(HostOf(name));
}

bool HostList::Takes(std::string_view authority) const {
  const std::string host = HostOf(authority);
  if (host.empty()) return false;
  return any_ || std::find(names_.begin(), names_.end(), host) != names_.end();
}

bool IsOwnOrigin(std::string_view origin, std::string_view authority) {
  if (origin.empty()) return true;
  for (const std::string_view scheme : {"http://", "https://"}) {
    if (SameWord(origin.substr(0, scheme.size()), scheme)) return SameWord(origin.substr(scheme.size()), authority);
  }
  return false;
}

}  // namespace qx::server
