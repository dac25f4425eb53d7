// A queue on RabbitMQ, by its address.
#ifndef QX_CLI_QUEUE_OPEN_AMQP_H
#define QX_CLI_QUEUE_OPEN_AMQP_H

#include <cstddef>
#include <memory>

#include "cli/queue/open_queue.h"

namespace qx::cli {

// Of an address that begins with amqp:// or amqps://. Throw SetupFailure and SourceFailure; no text has a password in
// it.
std::unique_ptr<queue::JobSource> OpenAmqpSource(const QueueOptions& options, size_t jobs, const QueueLog& log);
std::unique_ptr<queue::JobDesk> OpenAmqpDesk(const QueueOptions& options, const QueueLog& log);

}  // namespace qx::cli

#endif  // QX_CLI_QUEUE_OPEN_AMQP_H
