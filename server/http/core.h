// What the connections of a server share. Inner header: brings in Asio.
#ifndef QX_SERVER_HTTP_CORE_H
#define QX_SERVER_HTTP_CORE_H

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "server/http/admission.h"
#include "server/http/connection.h"
#include "server/http/gate.h"
#include "server/http/listener.h"
#include "server/http/metrics.h"

namespace qx::server {

// Takes answers from any thread to the server's own, as long as there is a server. One per server.
class Mailbox {
 public:
  explicit Mailbox(Core* core) : core_(core) {}
  void Put(uint64_t connection, Response response);
  void Close();

 private:
  std::mutex mutex_;
  Core* core_;
};

// Everything but Stop on the server's thread.
class Core {
 public:
  Core(Settings settings, Handler* handler);
  ~Core();
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;

  std::string Address() const;
  void StopAtSignals();
  void Run();
  void Stop();

  // Has the handler answer; the answer comes to the connection's Deliver, once.
  void Handle(uint64_t connection, Request request);
  // What is asked of the server's own state; nothing for other places.
  std::optional<Response> OwnAnswer(const Request& request) const;
  void Log(std::string_view method, const Route& route, unsigned status, std::chrono::nanoseconds time, size_t received,
           size_t sent);
  // The connection is gone.
  void Remove(uint64_t connection);
  bool Draining() const { return draining_; }

  // Destroyed last to first: who holds connections goes before the context, since sockets need it to the end.
  const Settings settings;
  const Limits& limits;
  std::unique_ptr<Gate> gate;
  Metrics metrics;
  boost::asio::io_context io{1};
  Admission admission;

 private:
  friend class Mailbox;
  void Listen(const std::string& address);
  void Accept();
  void OnAccept(const boost::system::error_code& error, boost::asio::ip::tcp::socket socket);
  void PauseAccepting();
  void WaitForSignal();
  void Drain();
  void GiveUp();
  void End();
  void Deliver(uint64_t connection, Response response);

  Handler* const handler_;
  const std::shared_ptr<Mailbox> mailbox_;
  std::map<uint64_t, std::shared_ptr<Connection>> connections_;
  uint64_t next_ = 0;
  bool accepting_ = false, draining_ = false;
  boost::asio::ip::tcp::acceptor acceptor_{io};
  boost::asio::steady_timer pause_{io}, end_{io};
  boost::asio::signal_set signals_{io};
};

}  // namespace qx::server

#endif  // QX_SERVER_HTTP_CORE_H
