// Hands jobs to, and fetches answers from, a server of messages: RabbitMQ with quorum queues.
#ifndef QX_QUEUE_AMQP_AMQP_DESK_H
#define QX_QUEUE_AMQP_AMQP_DESK_H

#include <optional>
#include <set>
#include <string>

#include "queue/amqp/consumer.h"
#include "queue/amqp/publisher.h"
#include "queue/amqp/settings.h"
#include "queue/job_desk.h"

namespace qx::queue {

// For one thread; the connections have threads of their own. Several programs may submit at once; of several that
// collect each gets a part of the answers.
class AmqpDesk final : public JobDesk {
 public:
  // Connects. Throws SourceFailure as AmqpSource does.
  explicit AmqpDesk(AmqpSettings settings);

  // The server does not know what jobs it has: false only for what this desk itself handed in.
  bool Submit(const Job& job) override;
  size_t Collect(const AnswerTakers& takers) override;
  SourceCounts Count() override;

 private:
  static void Hand(const Delivery& delivery, const AnswerTakers& takers);

  const AmqpSettings settings_;
  std::set<std::string> submitted_;
  Publisher publisher_;
  std::optional<Consumer> consumer_;  // from the first Collect on
};

}  // namespace qx::queue

#endif  // QX_QUEUE_AMQP_AMQP_DESK_H
