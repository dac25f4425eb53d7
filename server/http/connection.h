// One client's connection.
#ifndef QX_SERVER_HTTP_CONNECTION_H
#define QX_SERVER_HTTP_CONNECTION_H

#include <boost/asio/ip/tcp.hpp>
#include <cstdint>
#include <memory>

#include "server/http/message.h"

namespace qx::server {

class Core;

// All on the server's thread.
class Connection {
 public:
  static std::shared_ptr<Connection> Make(uint64_t id, boost::asio::ip::tcp::socket socket, Core* core);
  virtual ~Connection() = default;

  virtual void Start() = 0;
  // The handler's answer to the request that it was given.
  virtual void Deliver(Response response) = 0;
  // Closes it if nothing was asked for, and refuses what has not begun; else the answer that is under way will be the
  // last.
  virtual void Drain() = 0;
  // Answers that there will be no answer, if there is none yet.
  virtual void GiveUp() = 0;
};

}  // namespace qx::server

#endif  // QX_SERVER_HTTP_CONNECTION_H
