// Receives messages, which the server gives to somebody else unless they are acknowledged.
#ifndef QX_QUEUE_AMQP_CONSUMER_H
#define QX_QUEUE_AMQP_CONSUMER_H

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "queue/amqp/link_thread.h"

namespace qx::queue {

// Which delivery on which link: those of a lost one are others' from then on.
struct DeliveryName {
  uint64_t link = 0, number = 0;
};

class Consumer final : private LinkUser {
 public:
  struct Item {
    DeliveryName name;
    Delivery delivery;
  };

  // At most `prefetch` of each queue are here without an acknowledgement. Throws SourceFailure.
  Consumer(const AmqpSettings& settings, std::vector<const char*> queues, size_t prefetch);
  ~Consumer();

  // For any thread. None when none came in that time, or the connection is lost.
  std::optional<Item> Take(std::chrono::milliseconds wait);
  // What came and was not taken.
  std::vector<Item> TakeAll();
  size_t Ready();

  bool IsOurs(const DeliveryName& name);
  // Soon; nothing happens when it is no longer ours.
  void Acknowledge(const DeliveryName& name) { Settle(name, false); }
  void Requeue(const DeliveryName& name) { Settle(name, true); }

  // No deliveries come until the next Take. Returns when that is so, and all that were on their way have come.
  void Pause();
  // Messages that wait in the queues. When it is none, what was on its way here has come. Throws SourceFailure.
  size_t Waiting();

 private:
  struct Settlement {
    uint64_t number;
    bool requeue;
  };

  void Begin(Link& link) override;
  void Handle(LinkEvent event) override;
  void Work(Link& link) override;
  void Lose(const std::string& why) override;

  void Settle(const DeliveryName& name, bool requeue);
  size_t LookAndReceive();
  QueueState Look(Link& link);
  void LookNowAndThen(Link& link);
  void Receive(Link& link);

  const AmqpSettings& settings_;
  const std::vector<const char*> queues_;
  const size_t prefetch_;
  // Of the thread alone.
  bool consumes_ = false;
  int unreached_ = 0;
  AmqpSettings::Clock::time_point looked_{};

  std::mutex mutex_;  // of all below
  std::condition_variable came_;
  std::deque<Item> items_;
  std::deque<Settlement> settlements_;
  uint64_t link_ = 0;
  bool linked_ = false, paused_ = false;
  size_t open_ = 0;  // came on this link and not settled
  LinkThread thread_;
};

}  // namespace qx::queue

#endif  // QX_QUEUE_AMQP_CONSUMER_H
