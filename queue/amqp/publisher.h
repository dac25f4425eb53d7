// Sends messages that the server confirms to have kept.
#ifndef QX_QUEUE_AMQP_PUBLISHER_H
#define QX_QUEUE_AMQP_PUBLISHER_H

#include <condition_variable>
#include <list>
#include <map>
#include <mutex>
#include <string>

#include "queue/amqp/link_thread.h"

namespace qx::queue {

// Has a connection of its own: a server that is short of memory or disk stops reading from those that send.
class Publisher final : private LinkUser {
 public:
  // Throws SourceFailure.
  explicit Publisher(const AmqpSettings& settings);
  ~Publisher();

  // For any thread. Returns once the server has it, on as many disks as its queue is kept; false when its queue is
  // full. A letter whose connection is lost is sent again, so that it may arrive twice. Throws SourceFailure after
  // AmqpSettings::patience: it may arrive still.
  bool Send(const Letter& letter);

  QueueState Look(const char* queue);

 private:
  struct Request {
    enum class State { kWaits, kKept, kRefused };
    const Letter& letter;  // whoever waits for it has it
    State state = State::kWaits;
    uint64_t number = 0;  // on the present link; 0 when it was not sent there
    AmqpSettings::Clock::time_point sent{};
  };

  void Begin(Link& link) override;
  void Handle(LinkEvent event) override;
  void Work(Link& link) override;
  void Lose(const std::string& why) override;
  void CountRefusals(const std::string& queue, bool isKept);

  const AmqpSettings& settings_;
  std::mutex mutex_;  // of all below
  std::condition_variable changed_;
  std::list<Request> requests_;
  uint64_t last_ = 0;
  std::string failure_;
  // Of the thread alone: queues that refuse everything on this link, each since when.
  std::map<std::string, AmqpSettings::Clock::time_point> refused_;
  LinkThread thread_;
};

}  // namespace qx::queue

#endif  // QX_QUEUE_AMQP_PUBLISHER_H
