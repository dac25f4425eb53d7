// Where a server of messages is, as people write it.
#ifndef QX_QUEUE_AMQP_ADDRESS_H
#define QX_QUEUE_AMQP_ADDRESS_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qx::queue {

// Says what is wrong, in one printable line. Never repeats the address, in which somebody may have put a password.
class BadAddress : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// amqp[s]://[USER@]HOST[:PORT][,HOST[:PORT]...][/VHOST]: servers of one cluster with commas between them, IPv6 in
// brackets, other characters of USER and VHOST as %XX.
struct AmqpAddress {
  struct Host {
    std::string name;  // of DNS, or an IP address without brackets
    uint16_t port = 0;
  };

  bool encrypted = false;
  std::string user = "guest";
  std::vector<Host> hosts;  // 1 to 16
  std::string vhost = "/";

  // Takes hostile text. Throws BadAddress.
  static AmqpAddress Parse(std::string_view text);

  // "amqps://[::1]:5671", for people.
  std::string NameOf(const Host& host) const;
};

// Whether that is this computer, so that what is sent there is on no wire.
bool IsLoopback(const AmqpAddress::Host& host);

}  // namespace qx::queue

#endif  // QX_QUEUE_AMQP_ADDRESS_H
