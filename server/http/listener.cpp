#include "server/http/listener.h"

#include <fcntl.h>
#include <malloc.h>

#include <atomic>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/post.hpp>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <utility>

#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "server/http/core.h"
#include "server/http/problem.h"

namespace qx::server {
namespace {

namespace net = boost::asio;
using boost::system::error_code;
using net::ip::tcp;
using photo::Failure;
using photo::FailureCode;

Failure BadAddress(const std::string& text) {
  return {FailureCode::kBadOption, text, {{"option", "listen"}}};
}

tcp::endpoint EndpointOf(const std::string& listen) {
  const size_t colon = listen.rfind(':');
  const std::string port = colon == std::string::npos ? "" : listen.substr(colon + 1);
  const bool digits = !port.empty() && port.size() <= 5 && port.find_first_not_of("0123456789") == std::string::npos;
  const int number = digits ? std::stoi(port) : -1;
  std::string host = HostOf(listen);
  if (host == "localhost") host = "127.0.0.1";
  error_code error;
  const auto address = net::ip::make_address(host, error);
  if (error || number < 0 || number > 65535) {
    throw BadAddress("\"" + photo::Printable(listen) +
                     "\" is no address to listen on; write one such as 127.0.0.1:8080 or [::1]:8080");
  }
  return {address, static_cast<unsigned short>(number)};
}

std::vector<std::string> Origins(const std::vector<std::string>& texts) {
  std::vector<std::string> origins;
  for (const std::string& text : texts) {
    origins.push_back(OriginOf(text));
    if (!origins.back().empty()) continue;
    throw Failure(FailureCode::kBadOption,
                  "\"" + photo::Printable(text) +
                      "\" is no origin; write scheme, name and port of the page, such as https://studio.example, and "
                      "nothing behind them",
                  {{"option", "cors"}});
  }
  return origins;
}

// Answers once, whoever holds it; when nobody does any more, for them.
class Ticket {
 public:
  Ticket(std::shared_ptr<Mailbox> mailbox, uint64_t connection)
      : mailbox_(std::move(mailbox)), connection_(connection) {}
  ~Ticket() {
    try {
      Answer(ProblemResponse(Problem(500, "internal", "nobody answered; the server's log says more")));
    } catch (const std::exception&) {
      // Memory is gone: the client waits in vain.
    }
  }
  Ticket(const Ticket&) = delete;
  Ticket& operator=(const Ticket&) = delete;

  void Answer(Response response) {
    if (!used_.exchange(true)) mailbox_->Put(connection_, std::move(response));
  }

 private:
  const std::shared_ptr<Mailbox> mailbox_;
  const uint64_t connection_;
  std::atomic<bool> used_{false};
};

}  // namespace

void Mailbox::Put(uint64_t connection, Response response) {
  const std::lock_guard lock(mutex_);
  if (!core_) return;
  net::post(core_->io, [core = core_, connection, answer = std::move(response)]() mutable {
    core->Deliver(connection, std::move(answer));
  });
}

void Mailbox::Close() {
  const std::lock_guard lock(mutex_);
  core_ = nullptr;
}

Core::Core(Settings s, Handler* handler)
    : settings(std::move(s)),
      limits(settings.limits),
      admission(limits.slots, limits.waiting),
      handler_(handler),
      mailbox_(std::make_shared<Mailbox>(this)) {
  const tcp::endpoint endpoint = EndpointOf(settings.listen);
  const bool loopback = endpoint.address().is_loopback();
  if (!loopback && !settings.token) {
    throw BadAddress("others can reach that address; give a token too, or listen on 127.0.0.1");
  }
  gate = std::make_unique<Gate>(HostList(endpoint.address().to_string(), loopback, settings.hosts), settings.token,
                                settings.files, limits, Origins(settings.origins));
  error_code error;
  acceptor_.open(endpoint.protocol(), error);
  // Programs that are started must not hold on to it.
  if (!error) fcntl(acceptor_.native_handle(), F_SETFD, FD_CLOEXEC);
  if (!error) acceptor_.set_option(net::socket_base::reuse_address(true), error);
  if (!error) acceptor_.bind(endpoint, error);
  if (!error) acceptor_.listen(net::socket_base::max_listen_connections, error);
  if (error) {
    throw BadAddress("cannot listen on " + settings.listen + " (" + error.message() +
                     "); another program may have that port");
  }
}

Core::~Core() {
  mailbox_->Close();
  connections_.clear();
}

std::string Core::Address() const {
  const tcp::endpoint endpoint = acceptor_.local_endpoint();
  const std::string host = endpoint.address().to_string();
  return "http://" + (endpoint.address().is_v6() ? "[" + host + "]" : host) + ":" + std::to_string(endpoint.port()) +
         "/";
}

void Core::StopAtSignals() {
  signals_.add(SIGTERM);
  signals_.add(SIGINT);
  WaitForSignal();
}

void Core::Run() {
  Accept();
  for (;;) {
    try {
      io.run();
      return;
    } catch (const std::exception& exception) {
      // Of one connection, whose timer will close it; the others go on.
      if (settings.log) settings.log(std::string("error: ") + photo::ReasonOf(exception));
    }
  }
}

void Core::Stop() {
  net::post(io, [this] { Drain(); });
}

void Core::WaitForSignal() {
  signals_.async_wait([this](const error_code& error, int) {
    if (error) return;
    if (draining_) return End();
    Drain();
    WaitForSignal();
  });
}

void Core::Accept() {
  if (accepting_ || draining_) return;
  accepting_ = true;
  acceptor_.async_accept([this](const error_code& error, tcp::socket socket) {
    accepting_ = false;
    OnAccept(error, std::move(socket));
  });
}

void Core::OnAccept(const error_code& error, tcp::socket socket) {
  if (draining_) return;
  if (error) return PauseAccepting();
  metrics.Accepted();
  fcntl(socket.native_handle(), F_SETFD, FD_CLOEXEC);
  const uint64_t id = ++next_;
  const auto connection = Connection::Make(id, std::move(socket), this);
  connections_[id] = connection;
  connection->Start();
  // The others wait in the kernel's queue.
  if (connections_.size() < limits.connections) Accept();
}

void Core::PauseAccepting() {
  pause_.expires_after(limits.acceptPause);
  pause_.async_wait([this](const error_code& error) {
    if (!error && connections_.size() < limits.connections) Accept();
  });
}

void Core::Remove(uint64_t connection) {
  connections_.erase(connection);
  if (draining_ && connections_.empty()) return End();
  if (connections_.size() < limits.connections) Accept();
}

void Core::Drain() {
  if (draining_) return;
  draining_ = true;
  error_code ignored;
  acceptor_.close(ignored);
  pause_.cancel();
  end_.expires_after(limits.drain * 9 / 10);
  end_.async_wait([this](const error_code& error) {
    if (!error) GiveUp();
  });
  const auto connections = connections_;  // closing takes them out
  for (const auto& [id, connection] : connections) connection->Drain();
  if (connections_.empty()) End();
}

void Core::GiveUp() {
  end_.expires_after(limits.drain / 10);
  end_.async_wait([this](const error_code& error) {
    if (!error) End();
  });
  const auto connections = connections_;
  for (const auto& [id, connection] : connections) connection->GiveUp();
}

void Core::End() {
  io.stop();
}

void Core::Deliver(uint64_t connection, Response response) {
  const auto found = connections_.find(connection);
  if (found == connections_.end()) return;
  const auto kept = found->second;
  kept->Deliver(std::move(response));
}

void Core::Handle(uint64_t connection, Request request) {
  const auto ticket = std::make_shared<Ticket>(mailbox_, connection);
  try {
    handler_->Handle(std::move(request), [ticket](Response response) { ticket->Answer(std::move(response)); });
  } catch (const std::exception& exception) {
    ticket->Answer(ProblemResponse(exception));
  }
}

std::optional<Response> Core::OwnAnswer(const Request& request) const {
  constexpr std::string_view kText = "text/plain; charset=utf-8";
  switch (request.route.place) {
    case Place::kHealth: {
      const std::string version = handler_->Version();
      return TextResponse(200, kText, "ok" + (version.empty() ? "" : " " + version) + "\n");
    }
    case Place::kReady: {
      if (!draining_ && handler_->Ready()) return TextResponse(200, kText, "ready\n");
      return BusyResponse(limits.retryAfter, draining_ ? "the server is ending" : "the server is not ready yet");
    }
    case Place::kMetrics: {
      const Metrics::Now now{connections_.size(), admission.Waiting(), limits.slots, admission.Free(), draining_};
      return TextResponse(200, "text/plain; version=0.0.4; charset=utf-8", metrics.Text(now) + handler_->Metrics());
    }
    default: return std::nullopt;
  }
}

void Core::Log(std::string_view method, const Route& route, unsigned status, std::chrono::nanoseconds time,
               size_t received, size_t sent) {
  metrics.Answered(LabelOf(route), status, time, received, sent);
  if (!settings.log) return;
  char numbers[100];
  const double milliseconds = std::chrono::duration<double, std::milli>(time).count();
  std::snprintf(numbers, sizeof numbers, " %u %zu %zu %.1f ms", status, received, sent, milliseconds);
  settings.log((method.empty() ? "-" : std::string(method)) + " " + std::string(LabelOf(route)) + numbers);
}

Listener::Listener(Settings settings, Handler* handler) : core_(std::make_shared<Core>(std::move(settings), handler)) {}
Listener::~Listener() = default;
std::string Listener::Address() const {
  return core_->Address();
}
void Listener::StopAtSignals() {
  core_->StopAtSignals();
}

void Listener::Run() {
  core_->Run();
}
void Listener::Stop() {
  core_->Stop();
}

void GiveBackFreedMemory() {
  constexpr int kMost = 1 << 20;
  mallopt(M_MMAP_THRESHOLD, kMost);
  mallopt(M_TRIM_THRESHOLD, kMost);
}

}  // namespace qx::server
