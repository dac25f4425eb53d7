// Jobs from a server of messages: RabbitMQ with quorum queues.
#ifndef QX_QUEUE_AMQP_AMQP_SOURCE_H
#define QX_QUEUE_AMQP_AMQP_SOURCE_H

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "queue/amqp/consumer.h"
#include "queue/amqp/publisher.h"
#include "queue/amqp/settings.h"
#include "queue/job_source.h"

namespace qx::queue {

// The server counts the tries: each time that a job comes back to it, since its worker gave it back, ended or was not
// heard of for two heartbeats. With the third it puts the job among the dead by itself. Two connections, each with a
// thread of its own, are made anew whenever they are lost, with growing waits; jobs in hand are then others' too, and
// what is said of them here counts no more, but for an answer, which is sent in any case. An answer is confirmed, on
// the disks of most of the cluster, before its job is acknowledged.
class AmqpSource final : public JobSource {
 public:
  // Connects. Throws SourceFailure: no host can be reached, trusted or lets this end in, or its queues are of another
  // form.
  explicit AmqpSource(AmqpSettings settings);
  // Returns what is still in hand, and what came and was not taken.
  ~AmqpSource() override;

  std::optional<Claim> Take(std::chrono::milliseconds wait) override;
  void Finish(const Claim& claim, const Answer& answer) override;
  void GiveBack(const Claim& claim, const std::string& reason) override;
  // What the server takes back counts as a try to it (3.10), so the job is sent anew, with its tries written on it, and
  // this one acknowledged. Nothing more comes until the next Take: it would be the same job.
  void Return(const Claim& claim) override;
  void Bury(const Claim& claim, const std::string& reason) override;
  // What others have in hand is known to nobody but the server's administrator.
  SourceCounts Count() override;

 private:
  std::optional<Claim> Open(const Consumer::Item& item);
  void BuryText(const DeliveryName& name, const Dead& dead);
  void SendBack(const DeliveryName& name, const std::string& text, const std::string& id, int tries);
  void Send(const Letter& letter);
  DeliveryName NameOf(const Claim& claim) const;
  void LetGo(const DeliveryName& name);

  const AmqpSettings settings_;
  std::mutex mutex_;  // of inHand_
  std::map<std::string, Claim> inHand_;
  Publisher publisher_;
  Consumer consumer_;
};

}  // namespace qx::queue

#endif  // QX_QUEUE_AMQP_AMQP_SOURCE_H
