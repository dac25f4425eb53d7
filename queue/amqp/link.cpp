#include "queue/amqp/link.h"

#include <algorithm>
#include <array>

#include "photo/base/text.h"
#include "queue/amqp/encryption.h"
#include "queue/amqp/properties.h"

namespace qx::queue {
namespace {

constexpr amqp_channel_t kChannel = 1;
constexpr int kMostFrameBytes = 131'072;
// Deliveries of a job after the first; the server gives it up with the one that would follow.
constexpr int kMostReturns = kMostTries - 1;
constexpr int64_t kMostMessages = 1'000'000;
constexpr std::chrono::milliseconds kAnswerWait{20'000}, kGoodbyeWait{1'000};

timeval TimeOf(std::chrono::milliseconds wait) {
  return {static_cast<time_t>(wait.count() / 1000), static_cast<suseconds_t>(wait.count() % 1000 * 1000)};
}

amqp_bytes_t BytesOf(const std::string& text) {
  return {text.size(), const_cast<char*>(text.data())};
}

std::string TextOf(amqp_bytes_t bytes, size_t most) {
  return std::string(static_cast<const char*>(bytes.bytes), std::min(bytes.len, most));
}

amqp_table_entry_t Entry(const char* name, const char* value) {
  amqp_table_entry_t entry{amqp_cstring_bytes(name), {}};
  entry.value.kind = AMQP_FIELD_KIND_UTF8;
  entry.value.value.bytes = amqp_cstring_bytes(value);
  return entry;
}

amqp_table_entry_t Entry(const char* name, int64_t value) {
  amqp_table_entry_t entry{amqp_cstring_bytes(name), {}};
  entry.value.kind = AMQP_FIELD_KIND_I64;
  entry.value.value.i64 = value;
  return entry;
}

// What the server says of an error, as it is one of its methods.
std::string Words(const amqp_method_t& method) {
  amqp_bytes_t words{0, nullptr};
  if (method.id == AMQP_CHANNEL_CLOSE_METHOD) words = static_cast<amqp_channel_close_t*>(method.decoded)->reply_text;
  if (method.id == AMQP_CONNECTION_CLOSE_METHOD) {
    words = static_cast<amqp_connection_close_t*>(method.decoded)->reply_text;
  }
  return words.len == 0 ? "the server ends the connection" : "the server says: " + photo::Printable(TextOf(words, 250));
}

bool IsClosedWith(const amqp_rpc_reply_t& reply, uint16_t code) {
  return reply.reply_type == AMQP_RESPONSE_SERVER_EXCEPTION && reply.reply.id == AMQP_CHANNEL_CLOSE_METHOD &&
         static_cast<amqp_channel_close_t*>(reply.reply.decoded)->reply_code == code;
}

}  // namespace

Link::Link(const AmqpSettings& settings, const AmqpAddress::Host& host)
    : name_(settings.address.NameOf(host)), state_(amqp_new_connection()) {
  if (!state_) throw std::bad_alloc();
  Connect(settings, host);
  LogIn(settings);
  const timeval wait = TimeOf(kAnswerWait);
  amqp_set_rpc_timeout(state_.get(), &wait);
  OpenChannel();
}

Link::~Link() = default;

void Link::Connect(const AmqpSettings& settings, const AmqpAddress::Host& host) {
  amqp_socket_t* socket =
      settings.address.encrypted ? amqp_ssl_socket_new(state_.get()) : amqp_tcp_socket_new(state_.get());
  if (socket == nullptr) throw std::bad_alloc();
  if (settings.address.encrypted) {
    const std::string wrong = Encrypt(socket, settings, host, &verification_);
    if (!wrong.empty()) Fail(wrong);
  }
  const timeval wait = TimeOf(settings.connectWait);
  const int status = amqp_socket_open_noblock(socket, host.name.c_str(), host.port, &wait);
  if (verification_ != 0) Fail("its certificate is refused (" + WordsOfVerification(verification_) + ")");
  Check(status, "cannot connect");
}

void Link::LogIn(const AmqpSettings& settings) {
  const timeval wait = TimeOf(settings.connectWait);
  amqp_set_handshake_timeout(state_.get(), &wait);
  const AmqpAddress& address = settings.address;
  const amqp_rpc_reply_t reply = amqp_login(state_.get(), address.vhost.c_str(), /*channel_max=*/8, kMostFrameBytes,
                                            static_cast<int>(settings.heartbeat.count()), AMQP_SASL_METHOD_PLAIN,
                                            address.user.c_str(), settings.password.c_str());
  Check(reply, "is not let in");
}

void Link::OpenChannel() {
  amqp_channel_open(state_.get(), kChannel);
  Check(amqp_get_rpc_reply(state_.get()), "cannot open a channel");
}

int Link::Descriptor() const {
  return amqp_get_sockfd(state_.get());
}

void Link::DeclareQueues() {
  std::array forms{Entry("x-queue-type", "quorum"),
                   Entry("x-overflow", "reject-publish"),
                   Entry("x-max-length", kMostMessages),
                   Entry("x-delivery-limit", kMostReturns),
                   Entry("x-dead-letter-exchange", ""),
                   Entry("x-dead-letter-routing-key", kDeadQueue),
                   Entry("x-dead-letter-strategy", "at-least-once")};
  // The place of the dead first, since the server sends what is dead there. It and answers have no limit of deliveries:
  // whoever reads them may fail as often as it likes.
  for (const char* queue : {kDeadQueue, kAnswersQueue, kJobsQueue}) {
    const int count = queue == kJobsQueue ? static_cast<int>(forms.size()) : 3;
    if (!Declare(queue, false, {count, forms.data()})) Declare(queue, true, amqp_empty_table);
  }
}

// False when this user may use the queue and not make it.
bool Link::Declare(const char* queue, bool passive, amqp_table_t arguments) {
  constexpr uint16_t kAccessRefused = 403;
  amqp_queue_declare(state_.get(), kChannel, amqp_cstring_bytes(queue), passive, true, false, false, arguments);
  const amqp_rpc_reply_t reply = amqp_get_rpc_reply(state_.get());
  if (passive || !IsClosedWith(reply, kAccessRefused)) {
    Check(reply, (std::string("cannot use the queue ") + queue).c_str());
    return true;
  }
  amqp_channel_close_ok_t ok{};
  Check(amqp_send_method(state_.get(), kChannel, AMQP_CHANNEL_CLOSE_OK_METHOD, &ok), "cannot send");
  OpenChannel();
  return false;
}

QueueState Link::Look(const char* queue) {
  const amqp_queue_declare_ok_t* state =
      amqp_queue_declare(state_.get(), kChannel, amqp_cstring_bytes(queue), true, true, false, false, amqp_empty_table);
  Check(amqp_get_rpc_reply(state_.get()), "cannot look into the queue");
  return {state->message_count, state->consumer_count};
}

void Link::SelectConfirms() {
  amqp_confirm_select(state_.get(), kChannel);
  Check(amqp_get_rpc_reply(state_.get()), "confirms nothing");
}

void Link::Send(const Letter& letter) {
  amqp_table_entry_t tries = Entry(kTriesHeader, letter.tries);
  amqp_basic_properties_t properties{};
  properties._flags = AMQP_BASIC_CONTENT_TYPE_FLAG | AMQP_BASIC_DELIVERY_MODE_FLAG | AMQP_BASIC_MESSAGE_ID_FLAG |
                      (letter.tries > 0 ? AMQP_BASIC_HEADERS_FLAG : 0u);
  properties.content_type = amqp_cstring_bytes("application/json");
  properties.delivery_mode = AMQP_DELIVERY_PERSISTENT;
  properties.message_id = BytesOf(letter.id);
  properties.headers = {1, &tries};
  // Mandatory, so that a queue that somebody removed does not swallow it.
  Check(amqp_basic_publish(state_.get(), kChannel, amqp_empty_bytes, BytesOf(letter.queue), true, false, &properties,
                           BytesOf(letter.text)),
        "cannot send");
}

void Link::Consume(const char* queue, size_t prefetch) {
  amqp_basic_qos(state_.get(), kChannel, 0, static_cast<uint16_t>(std::clamp<size_t>(prefetch, 1, 1000)), false);
  Check(amqp_get_rpc_reply(state_.get()), "cannot say how many jobs are wanted");
  amqp_basic_consume(state_.get(), kChannel, amqp_cstring_bytes(queue), amqp_cstring_bytes(queue), false, false, false,
                     amqp_empty_table);
  Check(amqp_get_rpc_reply(state_.get()), "cannot take from the queue");
}

void Link::Cancel(const char* queue) {
  amqp_basic_cancel(state_.get(), kChannel, amqp_cstring_bytes(queue));
  Check(amqp_get_rpc_reply(state_.get()), "cannot stop taking");
}

void Link::Acknowledge(uint64_t number) {
  Check(amqp_basic_ack(state_.get(), kChannel, number, false), "cannot send");
}

void Link::Requeue(uint64_t number) {
  Check(amqp_basic_nack(state_.get(), kChannel, number, false, true), "cannot send");
}

std::optional<LinkEvent> Link::Next() {
  while (true) {
    amqp_maybe_release_buffers(state_.get());
    amqp_frame_t frame{};
    timeval none{0, 0};
    const int status = amqp_simple_wait_frame_noblock(state_.get(), &frame, &none);
    if (status == AMQP_STATUS_TIMEOUT) return std::nullopt;
    Check(status, "the connection is lost");
    auto event = frame.frame_type == AMQP_FRAME_METHOD ? HandleMethod(frame) : Continue(frame);
    if (event) return event;
  }
}

std::optional<LinkEvent> Link::HandleMethod(const amqp_frame_t& frame) {
  if (coming_) Fail("the server does not end what it says");
  const amqp_method_t& method = frame.payload.method;
  switch (method.id) {
    case AMQP_BASIC_DELIVER_METHOD: {
      const auto& deliver = *static_cast<amqp_basic_deliver_t*>(method.decoded);
      coming_.emplace();
      coming_->delivery.number = deliver.delivery_tag;
      coming_->delivery.queue = TextOf(deliver.consumer_tag, kMostNameBytes);
      coming_->delivery.tries = deliver.redelivered ? 1 : 0;
      headed_ = false;
      return std::nullopt;
    }
    case AMQP_BASIC_ACK_METHOD: {
      const auto& kept = *static_cast<amqp_basic_ack_t*>(method.decoded);
      return LinkEvent{LinkEvent::Kind::kKept, {}, kept.delivery_tag, kept.multiple != 0};
    }
    case AMQP_BASIC_NACK_METHOD: {
      const auto& refused = *static_cast<amqp_basic_nack_t*>(method.decoded);
      return LinkEvent{LinkEvent::Kind::kRefused, {}, refused.delivery_tag, refused.multiple != 0};
    }
    case AMQP_CONNECTION_BLOCKED_METHOD:
    case AMQP_CONNECTION_UNBLOCKED_METHOD: return std::nullopt;
    case AMQP_BASIC_RETURN_METHOD:
    case AMQP_BASIC_CANCEL_METHOD: Fail("a queue is gone");
    default: Fail(Words(method));
  }
}

std::optional<LinkEvent> Link::Continue(const amqp_frame_t& frame) {
  if (!coming_) Fail("the server ends what it did not begin");
  if (frame.frame_type == AMQP_FRAME_HEADER && !headed_) {
    headed_ = true;
    missing_ = frame.payload.properties.body_size;
    if (frame.payload.properties.class_id != AMQP_BASIC_CLASS) Fail("the server sends what has no properties");
    ReadProperties(*static_cast<amqp_basic_properties_t*>(frame.payload.properties.decoded), &coming_->delivery);
  } else if (frame.frame_type == AMQP_FRAME_BODY && headed_ && frame.payload.body_fragment.len <= missing_) {
    std::string& text = coming_->delivery.text;
    missing_ -= frame.payload.body_fragment.len;
    text += TextOf(frame.payload.body_fragment, kMostAnswerBytes + 1 - text.size());
  } else {
    Fail("the server sends what is out of turn");
  }
  if (missing_ > 0) return std::nullopt;
  return std::exchange(coming_, std::nullopt);
}

void Link::Close() noexcept {
  const timeval wait = TimeOf(kGoodbyeWait);
  amqp_set_rpc_timeout(state_.get(), &wait);
  amqp_connection_close(state_.get(), AMQP_REPLY_SUCCESS);
}

void Link::Fail(const std::string& what) const {
  throw SourceFailure(name_ + ": " + what);
}

void Link::Check(int status, const char* what) const {
  if (status != AMQP_STATUS_OK) Fail(std::string(what) + " (" + amqp_error_string2(status) + ")");
}

void Link::Check(const amqp_rpc_reply_t& reply, const char* what) const {
  if (reply.reply_type == AMQP_RESPONSE_NORMAL) return;
  if (reply.reply_type == AMQP_RESPONSE_SERVER_EXCEPTION) Fail(std::string(what) + " (" + Words(reply.reply) + ")");
  if (reply.reply_type == AMQP_RESPONSE_LIBRARY_EXCEPTION) return Check(reply.library_error, what);
  Fail(std::string(what) + " (the server ends the connection)");
}

}  // namespace qx::queue
