#include "worker/places.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace qx::worker {
namespace {

constexpr size_t kLongestAddress = 2000;
constexpr std::string_view kSecure = "https://", kPlain = "http://";

bool IsLetterOrDigit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

// What may stand in an address as it is (RFC 3986, section 2), but for "@" and "#".
bool IsAddressLetter(char c) {
  return IsLetterOrDigit(c) || std::string_view("-._~:/?[]!$&'()*+,;=%").find(c) != std::string_view::npos;
}

std::optional<int> Escaped(std::string_view digits) {
  int value = 0;
  if (digits.size() < 2) return std::nullopt;
  const auto end = std::from_chars(digits.data(), digits.data() + 2, value, 16);
  return end.ec == std::errc() && end.ptr == digits.data() + 2 ? std::optional(value) : std::nullopt;
}

bool IsPlainPath(std::string_view path) {
  for (size_t i = 0; i < path.size(); ++i) {
    if (path[i] != '%') continue;
    const auto byte = Escaped(path.substr(i + 1));
    if (!byte || *byte < 0x20 || *byte == 0x7F || std::string_view("./\\%").find(static_cast<char>(*byte)) < 4) {
      return false;
    }
  }
  for (size_t from = 0; from < path.size();) {
    const size_t end = std::min(path.find('/', from), path.size());
    if (path.substr(from, end - from) == ".") return false;
    from = end + 1;
  }
  return path.empty() || path[0] == '/';
}

bool ReadHost(std::string_view host, std::string* to) {
  std::string_view letters = host;
  const bool isNumber = host.size() > 2 && host.front() == '[' && host.back() == ']';
  if (isNumber) letters = host.substr(1, host.size() - 2);
  const std::string_view marks = isNumber ? ":." : "-.";
  const bool isHost = !letters.empty() && std::all_of(letters.begin(), letters.end(), [&](char c) {
    return IsLetterOrDigit(c) || marks.find(c) != std::string_view::npos;
  });
  *to = std::string(host);
  for (char& c : *to) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return isHost;
}

// HOST or HOST:PORT.
bool ReadAuthority(std::string_view text, WebAddress* to) {
  const size_t colon = text.find(':', text.substr(0, 1) == "[" ? std::min(text.find(']'), text.size()) : 0);
  if (colon != std::string_view::npos) {
    const std::string_view digits = text.substr(colon + 1);
    const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), to->port);
    const bool isNumber = end.ec == std::errc() && end.ptr == digits.data() + digits.size() && digits[0] != '-';
    if (!isNumber || to->port < 1 || to->port > 65535) return false;
  }
  return ReadHost(text.substr(0, colon), &to->host);
}

}  // namespace

std::optional<WebAddress> ParseWebAddress(std::string_view text) {
  WebAddress address;
  address.secure = text.substr(0, kSecure.size()) == kSecure;
  const std::string_view scheme = address.secure ? kSecure : kPlain;
  const bool isPlain = text.size() <= kLongestAddress && std::all_of(text.begin(), text.end(), IsAddressLetter) &&
                       text.find("..") == std::string_view::npos;
  if (!isPlain || text.substr(0, scheme.size()) != scheme) return std::nullopt;
  text.remove_prefix(scheme.size());
  address.port = address.secure ? 443 : 80;
  const size_t slash = std::min(text.find('/'), text.size()), query = std::min(text.find('?'), text.size());
  if (query < slash || !ReadAuthority(text.substr(0, slash), &address)) return std::nullopt;
  address.hasQuery = query < text.size();
  address.path = std::string(text.substr(slash, query - slash));
  if (!IsPlainPath(address.path)) return std::nullopt;
  if (address.path.empty()) address.path = "/";
  return address;
}

bool IsBelow(std::string_view path, std::string_view folder) {
  if (path.substr(0, folder.size()) != folder || folder.empty()) return false;
  return folder.back() == '/' || path.size() == folder.size() || path[folder.size()] == '/';
}

void Places::AddAddress(WebAddress address) {
  if (address.path.empty() || address.path.back() != '/') address.path += '/';
  addresses_.push_back(std::move(address));
}

bool Places::HasPath(std::string_view path) const {
  return std::any_of(folders_.begin(), folders_.end(),
                     [&](const std::string& folder) { return IsBelow(path, folder); });
}

bool Places::HasAddress(const WebAddress& address) const {
  return std::any_of(addresses_.begin(), addresses_.end(), [&](const WebAddress& one) {
    return one.secure == address.secure && one.host == address.host && one.port == address.port &&
           address.path.size() > one.path.size() && address.path.compare(0, one.path.size(), one.path) == 0;
  });
}

}  // namespace qx::worker
