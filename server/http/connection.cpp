#include "server/http/connection.h"

#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/span_body.hpp>
#include <boost/beast/http/vector_body.hpp>
#include <boost/beast/http/write.hpp>
#include <chrono>
#include <ctime>
#include <limits>
#include <optional>

#include "server/http/core.h"
#include "server/http/problem.h"

namespace qx::server {
namespace {

namespace net = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;
using Clock = std::chrono::steady_clock;
using Parser = http::request_parser<http::vector_body<uint8_t>>;
using Message = http::response<http::span_body<const uint8_t>>;

// What is read at once: of a head, of a body, and of what is dropped. Bounds lines of chunks too.
constexpr size_t kBufferBytes = 64 << 10;

Head ToHead(const Parser& parser) {
  const auto& message = parser.get();
  Head head;
  head.method = std::string(message.method_string());
  head.target = std::string(message.target());
  head.version = message.version();
  for (const auto& field : message) {
    head.headers.emplace_back(std::string(field.name_string()), std::string(field.value()));
  }
  const auto length = parser.content_length();
  if (length) head.length = *length;
  head.chunked = parser.chunked();
  return head;
}

std::string HttpDate() {
  const std::time_t now = std::time(nullptr);
  std::tm parts = {};
  gmtime_r(&now, &parts);
  char text[40];
  std::strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S GMT", &parts);
  return text;
}

// Whether the client sent something that is no HTTP, rather than nothing more.
bool IsMalformed(const error_code& error) {
  return error.category() == make_error_code(http::error::bad_method).category() &&
         error != http::error::end_of_stream && error != http::error::partial_message;
}

class BeastConnection final : public Connection, public std::enable_shared_from_this<BeastConnection> {
 public:
  BeastConnection(uint64_t id, net::ip::tcp::socket socket, Core* core)
      : id_(id), core_(*core), limits_(core->limits), socket_(std::move(socket)), timer_(core->io) {}

  void Start() override {
    error_code ignored;
    socket_.set_option(net::ip::tcp::no_delay(true), ignored);
    ReadHead();
  }
  void Deliver(Response response) override;
  void Drain() override;
  void GiveUp() override;

 private:
  enum class Phase { kHead, kWaiting, kBody, kWorking, kAnswer, kLinger, kClosed };

  void ReadHead();
  void OnHead(const error_code& error);
  void AskForSlot();
  void OnSlot();
  void SayContinue();
  void ReadBody();
  void OnBody(const error_code& error);
  void Work();
  void WatchClient();
  void Refuse(const Problem& problem);
  void Send(Response response);
  void OnSent(const error_code& error);
  void Linger();
  void Drop();
  void Close();
  void ReleaseSlot();

  // Runs OnTime after so long, unless the phase has ended by then.
  void SetTimer(std::chrono::nanoseconds time);
  void OnTime();
  // When the body, as far as it has come, should have come.
  Clock::time_point BodyDue() const {
    return began_ + limits_.body + std::chrono::seconds(parser_->get().body().size() / limits_.bytesPerSecond);
  }

  // Wraps a call of this object for an operation that may outlive everybody else's pointer to it.
  template <typename Method>
  auto Then(Method method) {
    return [self = shared_from_this(), method](const error_code& error, size_t) { ((*self).*method)(error); };
  }

  const uint64_t id_;
  Core& core_;
  const Limits& limits_;
  net::ip::tcp::socket socket_;
  net::steady_timer timer_;
  uint64_t timerRound_ = 0;
  Phase phase_ = Phase::kHead;
  bool slow_ = false;  // the phase's time is over
  bool slot_ = false;
  bool last_ = false;        // the connection ends with the answer
  Clock::time_point began_;  // the phase, then the request
  size_t received_ = 0, dropped_ = 0;
  boost::beast::flat_buffer buffer_{kBufferBytes};
  std::optional<Parser> parser_;
  Visit visit_;
  std::shared_ptr<std::atomic<bool>> gone_;
  Response response_;
  std::optional<Message> message_;
};

void BeastConnection::SetTimer(std::chrono::nanoseconds time) {
  slow_ = false;
  timer_.expires_after(time);
  timer_.async_wait([self = shared_from_this(), round = ++timerRound_](const error_code& error) {
    // One that was set anew may already stand in the queue.
    if (!error && round == self->timerRound_) self->OnTime();
  });
}

void BeastConnection::OnTime() {
  switch (phase_) {
    case Phase::kBody:
      if (const auto due = BodyDue(); Clock::now() < due) return SetTimer(due - Clock::now());
      [[fallthrough]];
    case Phase::kHead: {
      slow_ = true;
      error_code ignored;
      socket_.cancel(ignored);
      return;
    }
    case Phase::kWaiting:
      core_.admission.Leave(id_);
      return Send(BusyResponse(limits_.retryAfter, "too many photographs are at work; try again later"));
    case Phase::kAnswer: core_.metrics.TimedOut(); return Close();
    case Phase::kLinger: return Close();
    case Phase::kWorking:
    case Phase::kClosed: return;
  }
}

void BeastConnection::ReadHead() {
  phase_ = Phase::kHead;
  visit_ = Visit();
  received_ = 0;
  parser_.emplace();
  parser_->header_limit(limits_.headBytes);
  // The head decides first whether there may be a body at all. An empty optional would refuse every length.
  parser_->body_limit(std::numeric_limits<uint64_t>::max());
  began_ = Clock::now();
  SetTimer(limits_.head);
  http::async_read_header(socket_, buffer_, *parser_, Then(&BeastConnection::OnHead));
}

void BeastConnection::OnHead(const error_code& error) {
  if (phase_ != Phase::kHead) return;
  if (slow_) {
    core_.metrics.TimedOut();
    if (!parser_->got_some()) return Close();
    return Refuse(Problem(408, "too_slow", "the request did not come in time"));
  }
  began_ = Clock::now();
  if (error == http::error::header_limit || error == http::error::buffer_overflow) {
    return Refuse(Problem(431, "head_too_large", "the head of the request is too large"));
  }
  if (error && IsMalformed(error)) return Refuse(Problem(400, "bad_request", "this is no request that HTTP knows"));
  if (error) return Close();
  last_ = true;
  try {
    core_.gate->Admit(ToHead(*parser_), &visit_);
  } catch (const Problem& problem) {
    // Nothing is wrong with what follows a request that merely asked for the wrong thing.
    const bool sound = problem.status == 401 || problem.status == 404 || problem.status == 405;
    last_ = !sound || !parser_->keep_alive();
    return Send(ProblemResponse(problem));
  } catch (const std::exception& exception) {
    return Send(ProblemResponse(exception));
  }
  last_ = !parser_->keep_alive();
  if (visit_.takesSlot) return AskForSlot();
  Work();
}

void BeastConnection::AskForSlot() {
  // The call comes from whoever gives the slot back, in the middle of other things.
  const auto enter = [self = shared_from_this()] {
    self->slot_ = true;
    net::post(self->core_.io, [self] { self->OnSlot(); });
  };
  phase_ = Phase::kWaiting;
  switch (core_.admission.Enter(id_, enter)) {
    case Admission::Place::kSlot: slot_ = true; return OnSlot();
    case Admission::Place::kWaits: return SetTimer(limits_.wait);
    case Admission::Place::kFull:
      return Send(BusyResponse(limits_.retryAfter, "too many photographs are waiting; try again later"));
  }
}

void BeastConnection::OnSlot() {
  if (phase_ != Phase::kWaiting) return ReleaseSlot();
  if (!visit_.hasBody) return Work();
  phase_ = Phase::kBody;
  began_ = Clock::now();
  try {
    const auto length = parser_->content_length();
    if (length) parser_->get().body().reserve(static_cast<size_t>(*length));
  } catch (const std::exception& exception) {
    return Send(ProblemResponse(exception));
  }
  parser_->body_limit(limits_.bodyBytes);
  SetTimer(limits_.body);
  if (visit_.wantsContinue) return SayContinue();
  ReadBody();
}

void BeastConnection::SayContinue() {
  static constexpr char kContinue[] = "HTTP/1.1 100 Continue\r\n\r\n";
  net::async_write(socket_, net::buffer(kContinue, sizeof kContinue - 1),
                   [self = shared_from_this()](const error_code& error, size_t) {
                     if (self->phase_ != Phase::kBody) return;
                     if (error) return self->Close();
                     self->ReadBody();
                   });
}

void BeastConnection::ReadBody() {
  http::async_read(socket_, buffer_, *parser_, Then(&BeastConnection::OnBody));
}

void BeastConnection::OnBody(const error_code& error) {
  if (phase_ != Phase::kBody) return;
  if (slow_) {
    core_.metrics.TimedOut();
    return Refuse(Problem(408, "too_slow", "the photograph did not come in time"));
  }
  if (error == http::error::body_limit) {
    return Refuse(Problem(413, "too_large", "the upload is larger than this server takes",
                          {{"limit", static_cast<double>(limits_.bodyBytes)}}));
  }
  if (error && IsMalformed(error)) return Refuse(Problem(400, "bad_request", "the body of the request is malformed"));
  if (error) return Close();
  Bytes& body = parser_->get().body();
  received_ = body.size();
  try {
    core_.gate->TakeBody(std::move(body), &visit_);
  } catch (const std::exception& exception) {
    return Send(ProblemResponse(exception));
  }
  Work();
}

void BeastConnection::Work() {
  if (auto answer = core_.gate->Answer(visit_)) return Send(std::move(*answer));
  if (auto answer = core_.OwnAnswer(visit_.request)) return Send(std::move(*answer));
  phase_ = Phase::kWorking;
  ++timerRound_;  // the handler has its own limit
  timer_.cancel();
  gone_ = std::make_shared<std::atomic<bool>>(false);
  visit_.request.abandoned = [gone = gone_]() -> bool { return *gone; };
  Request request = std::move(visit_.request);
  visit_.request.route = request.route;  // for the log
  visit_.request.method = request.method;
  WatchClient();
  core_.Handle(id_, std::move(request));
}

// A client that has closed its end waits for nothing; more of its requests would hide that.
void BeastConnection::WatchClient() {
  if (buffer_.size() > 0) return;
  socket_.async_wait(net::ip::tcp::socket::wait_read,
                     [self = shared_from_this(), gone = gone_](const error_code& error) {
                       if (error || self->phase_ != Phase::kWorking || gone != self->gone_) return;
                       char byte;
                       const ssize_t got = recv(self->socket_.native_handle(), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
                       if (got <= 0) *gone = true;
                     });
}

void BeastConnection::Deliver(Response response) {
  if (phase_ != Phase::kWorking) return;
  error_code ignored;
  socket_.cancel(ignored);
  Send(std::move(response));
}

void BeastConnection::Refuse(const Problem& problem) {
  last_ = true;
  Send(ProblemResponse(problem));
}

void BeastConnection::Send(Response response) {
  phase_ = Phase::kAnswer;
  ReleaseSlot();
  // What was not read cannot be told from the next request.
  if (!parser_->is_done() || core_.Draining()) last_ = true;
  response_ = std::move(response);
  core_.gate->AddOriginHeaders(visit_, &response_);
  PackText(&response_, visit_.acceptsGzip);
  AddStandardHeaders(&response_);
  message_.emplace(static_cast<http::status>(response_.status), 11);
  message_->reason(ReasonPhrase(response_.status));
  for (const auto& [name, value] : response_.headers) message_->insert(name, value);
  message_->set(http::field::date, HttpDate());
  message_->keep_alive(!last_);
  if (!last_ && parser_->get().version() < 11) message_->set(http::field::connection, "keep-alive");
  const size_t size = response_.Size();
  if (response_.status != 204 && response_.status != 304) message_->content_length(size);
  const auto* bytes =
      response_.still.empty() ? response_.body.data() : reinterpret_cast<const uint8_t*>(response_.still.data());
  if (!visit_.headOnly) message_->body() = {bytes, size};
  SetTimer(limits_.answer + std::chrono::seconds(size / limits_.bytesPerSecond));
  http::async_write(socket_, *message_, Then(&BeastConnection::OnSent));
}

void BeastConnection::OnSent(const error_code& error) {
  if (phase_ != Phase::kAnswer) return;
  const size_t sent = visit_.headOnly ? 0 : response_.Size();
  core_.Log(visit_.request.method, visit_.request.route, response_.status, Clock::now() - began_, received_, sent);
  response_ = Response();
  if (error) return Close();
  if (last_ || core_.Draining()) return Linger();
  ReadHead();
}

// A socket that is closed with bytes unread sends a reset, which may overtake the answer.
void BeastConnection::Linger() {
  phase_ = Phase::kLinger;
  error_code ignored;
  socket_.shutdown(net::ip::tcp::socket::shutdown_send, ignored);
  dropped_ = 0;
  parser_.reset();
  SetTimer(limits_.drop);
  Drop();
}

void BeastConnection::Drop() {
  buffer_.clear();
  socket_.async_read_some(buffer_.prepare(kBufferBytes),
                          [self = shared_from_this()](const error_code& error, size_t n) {
                            if (self->phase_ != Phase::kLinger) return;
                            self->dropped_ += n;
                            if (error || self->dropped_ > self->limits_.dropBytes) return self->Close();
                            self->Drop();
                          });
}

void BeastConnection::ReleaseSlot() {
  if (!slot_) return;
  slot_ = false;
  core_.admission.Release();
}

void BeastConnection::Drain() {
  if (phase_ == Phase::kHead && !parser_->got_some() && buffer_.size() == 0) return Close();
  if (phase_ != Phase::kWaiting || slot_) return;
  core_.admission.Leave(id_);
  Send(BusyResponse(limits_.retryAfter, "the server is ending"));
}

void BeastConnection::GiveUp() {
  if (phase_ == Phase::kWorking) Deliver(BusyResponse(limits_.retryAfter, "the server is ending"));
}

void BeastConnection::Close() {
  if (phase_ == Phase::kClosed) return;
  phase_ = Phase::kClosed;
  ReleaseSlot();
  ++timerRound_;
  timer_.cancel();
  error_code ignored;
  socket_.close(ignored);
  core_.Remove(id_);
}

}  // namespace

std::shared_ptr<Connection> Connection::Make(uint64_t id, net::ip::tcp::socket socket, Core* core) {
  return std::make_shared<BeastConnection>(id, std::move(socket), core);
}

}  // namespace qx::server
