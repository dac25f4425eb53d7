#include "queue/amqp/address.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>

#include "photo/base/text.h"

namespace qx::queue {
namespace {

constexpr size_t kMostBytes = 4096, kMostHosts = 16, kMostHostBytes = 253;
// Of a short string of the protocol, as which names of users and virtual hosts travel.
constexpr size_t kMostNameBytes = 255;
constexpr uint16_t kPort = 5672, kEncryptedPort = 5671;
constexpr std::string_view kHostLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._";

[[noreturn]] void Refuse(const std::string& why) {
  throw BadAddress("the address of the queue " + why);
}

bool TakeStart(std::string_view* text, std::string_view start) {
  if (text->substr(0, start.size()) != start) return false;
  text->remove_prefix(start.size());
  return true;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string Decoded(std::string_view text, const std::string& what) {
  std::string decoded;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded += text[i];
      continue;
    }
    const int high = i + 2 < text.size() ? HexDigit(text[i + 1]) : -1;
    const int low = i + 2 < text.size() ? HexDigit(text[i + 2]) : -1;
    if (high < 0 || low < 0) Refuse("has a % without two digits after it in " + what);
    decoded += static_cast<char>(high * 16 + low);
    i += 2;
  }
  // What is printed as it is has no control characters and is UTF-8.
  if (decoded.empty() || decoded.size() > kMostNameBytes || photo::Printable(decoded) != decoded) {
    Refuse("has no good name in " + what);
  }
  return decoded;
}

uint16_t PortOf(std::string_view text) {
  uint16_t port = 0;
  const auto end = std::from_chars(text.data(), text.data() + text.size(), port);
  if (end.ec != std::errc() || end.ptr != text.data() + text.size() || port == 0) {
    Refuse("has a port that is none");
  }
  return port;
}

AmqpAddress::Host HostOf(std::string_view text, uint16_t port) {
  AmqpAddress::Host host{{}, port};
  if (TakeStart(&text, "[")) {
    const size_t end = text.find(']');
    if (end == std::string_view::npos) Refuse("has a bracket that is not closed");
    host.name = std::string(text.substr(0, end));
    std::array<unsigned char, 16> bytes{};
    if (inet_pton(AF_INET6, host.name.c_str(), bytes.data()) != 1) Refuse("has no IPv6 address in its brackets");
    text.remove_prefix(end + 1);
  } else {
    const size_t end = std::min(text.find(':'), text.size());
    host.name = std::string(text.substr(0, end));
    const bool named = !host.name.empty() && host.name.size() <= kMostHostBytes &&
                       host.name.find_first_not_of(kHostLetters) == std::string::npos && host.name[0] != '-';
    if (!named) Refuse("has no good name of a host");
    text.remove_prefix(end);
  }
  if (TakeStart(&text, ":")) {
    host.port = PortOf(text);
  } else if (!text.empty()) {
    Refuse("has something after a host that is no port");
  }
  return host;
}

}  // namespace

AmqpAddress AmqpAddress::Parse(std::string_view text) {
  AmqpAddress address;
  if (text.size() > kMostBytes) Refuse("is too long");
  address.encrypted = TakeStart(&text, "amqps://");
  if (!address.encrypted && !TakeStart(&text, "amqp://")) Refuse("begins with neither amqp:// nor amqps://");
  if (text.find_first_of("?#") != std::string_view::npos) Refuse("has more than a virtual host after its hosts");
  const size_t slash = std::min(text.find('/'), text.size());
  std::string_view server = text.substr(0, slash), vhost = text.substr(slash);
  const size_t at = server.find('@');
  if (at != std::string_view::npos) {
    const std::string_view user = server.substr(0, at);
    if (user.find(':') != std::string_view::npos) {
      Refuse("has a password in it, which everybody on this computer could read");
    }
    address.user = Decoded(user, "its user");
    server.remove_prefix(at + 1);
  }
  for (bool more = true; more;) {
    const size_t comma = server.find(',');
    address.hosts.push_back(HostOf(server.substr(0, comma), address.encrypted ? kEncryptedPort : kPort));
    if (address.hosts.size() > kMostHosts) Refuse("has too many hosts");
    more = comma != std::string_view::npos;
    if (more) server.remove_prefix(comma + 1);
  }
  if (vhost.size() > 1) {
    vhost.remove_prefix(1);
    if (vhost.find('/') != std::string_view::npos) Refuse("has a / in its virtual host, which is written %2F there");
    address.vhost = Decoded(vhost, "its virtual host");
  }
  return address;
}

std::string AmqpAddress::NameOf(const Host& host) const {
  const bool isSix = host.name.find(':') != std::string::npos;
  return std::string(encrypted ? "amqps://" : "amqp://") + (isSix ? "[" + host.name + "]" : host.name) + ":" +
         std::to_string(host.port);
}

bool IsLoopback(const AmqpAddress::Host& host) {
  in_addr four{};
  if (inet_pton(AF_INET, host.name.c_str(), &four) == 1) return ntohl(four.s_addr) >> 24 == 127;
  in6_addr six{};
  if (inet_pton(AF_INET6, host.name.c_str(), &six) == 1) return IN6_IS_ADDR_LOOPBACK(&six);
  return host.name == "localhost";
}

}  // namespace qx::queue
