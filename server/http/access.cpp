#include "server/http/access.h"

#include <algorithm>
#include <utility>

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

std::string OriginOf(std::string_view text) {
  constexpr std::string_view kSigns = "-.:[]";
  for (const auto& [scheme, port] : {std::pair<std::string_view, std::string_view>{"http://", ":80"},
                                     std::pair<std::string_view, std::string_view>{"https://", ":443"}}) {
    if (!SameWord(text.substr(0, scheme.size()), scheme)) continue;
    std::string host(text.substr(scheme.size()));
    std::transform(host.begin(), host.end(), host.begin(), Small);
    const auto fits = [&](char c) {
      return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || kSigns.find(c) != std::string_view::npos;
    };
    if (HostOf(host).empty() || !std::all_of(host.begin(), host.end(), fits)) return "";
    const bool own = host.size() > port.size() && std::string_view(host).substr(host.size() - port.size()) == port;
    if (own) host.resize(host.size() - port.size());
    return std::string(scheme) + host;
  }
  return "";
}

bool IsOwnOrigin(std::string_view origin, std::string_view authority) {
  if (origin.empty()) return true;
  for (const std::string_view scheme : {"http://", "https://"}) {
    if (SameWord(origin.substr(0, scheme.size()), scheme)) return SameWord(origin.substr(scheme.size()), authority);
  }
  return false;
}

}  // namespace qx::server
