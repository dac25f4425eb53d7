// One connection to a server of messages, with one channel on it.
#ifndef QX_QUEUE_AMQP_LINK_H
#define QX_QUEUE_AMQP_LINK_H

#include <amqp.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "queue/amqp/settings.h"
#include "queue/job_source.h"

namespace qx::queue {

// What is sent. `tries` came to nothing before, and are not known to the server.
struct Letter {
  std::string queue, text, id;
  int tries = 0;
};

// What came. Everything in it is hostile, and bounded.
struct Delivery {
  uint64_t number = 0;      // of this link
  std::string queue;        // where it waited
  std::string text;         // cut after kMostAnswerBytes + 1 bytes
  std::string id;           // empty when it has none
  std::string deathReason;  // why the server gave it up; empty when it did not
  int tries = 0;            // that came to nothing: 0 to 1'000'000
};

struct LinkEvent {
  enum class Kind {
    kDelivery,
    kKept,     // what was sent, by its number, is kept
    kRefused,  // or not: its queue is full
  };
  Kind kind = Kind::kDelivery;
  Delivery delivery;
  uint64_t number = 0;     // of kKept and kRefused: that letter, the first sent being 1
  bool andBefore = false;  // and all before it of which nothing was said yet
};

struct QueueState {
  size_t waiting = 0, consumers = 0;
};

// For one thread. Calls throw SourceFailure, after which the link is of no more use.
class Link {
 public:
  // Connects to that host and logs in. With encryption the server must show a certificate of its name.
  Link(const AmqpSettings& settings, const AmqpAddress::Host& host);
  ~Link();
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  // Where its bytes come in; to be waited for once Next has nothing more.
  int Descriptor() const;

  // Makes the three queues, or sees that they are there and alike.
  void DeclareQueues();
  QueueState Look(const char* queue);

  // From now on letters are numbered and each is kept or refused.
  void SelectConfirms();
  void Send(const Letter& letter);

  // Deliveries from that queue begin, and end; those without an answer stay.
  void Consume(const char* queue, size_t prefetch);
  void Cancel(const char* queue);
  void Acknowledge(uint64_t number);
  void Requeue(uint64_t number);

  // What has come, if anything has. Calls are also what heartbeats go out with: at least one in each quarter of theirs.
  std::optional<LinkEvent> Next();

  // In good order, as far as the server takes part.
  void Close() noexcept;

 private:
  struct Freer {
    void operator()(amqp_connection_state_t state) const { amqp_destroy_connection(state); }
  };

  void Connect(const AmqpSettings& settings, const AmqpAddress::Host& host);
  void LogIn(const AmqpSettings& settings);
  void OpenChannel();
  bool Declare(const char* queue, bool passive, amqp_table_t arguments);

  std::optional<LinkEvent> HandleMethod(const amqp_frame_t& frame);
  std::optional<LinkEvent> Continue(const amqp_frame_t& frame);

  [[noreturn]] void Fail(const std::string& what) const;
  void Check(int status, const char* what) const;
  void Check(const amqp_rpc_reply_t& reply, const char* what) const;

  const std::string name_;
  std::unique_ptr<amqp_connection_state_t_, Freer> state_;
  long verification_ = 0;            // what is wrong with the server's certificate
  std::optional<LinkEvent> coming_;  // of which the header or parts of the text are still to come
  bool headed_ = false;
  uint64_t missing_ = 0;  // bytes of its text
};

}  // namespace qx::queue

#endif  // QX_QUEUE_AMQP_LINK_H
