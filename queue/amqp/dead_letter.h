// What a server of messages makes of a job that it gives up.
#ifndef QX_QUEUE_AMQP_DEAD_LETTER_H
#define QX_QUEUE_AMQP_DEAD_LETTER_H

#include <string>

#include "queue/amqp/link.h"
#include "queue/message.h"

namespace qx::queue {

inline constexpr char kWorkerEnded[] = "its worker ended in the middle of it";

// Of a delivery from the queue of the dead: a dead job as a worker buries it, or the job itself where the server gave
// it up. What is neither is dead without a job.
Dead DeadOf(const Delivery& delivery);

// A job's id for a message that is none: its own, or one made of its text, the same whenever it comes.
std::string IdOf(const Delivery& delivery);

}  // namespace qx::queue

#endif  // QX_QUEUE_AMQP_DEAD_LETTER_H
