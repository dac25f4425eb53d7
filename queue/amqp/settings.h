// What both ends of a queue on a server of messages need to know.
#ifndef QX_QUEUE_AMQP_SETTINGS_H
#define QX_QUEUE_AMQP_SETTINGS_H

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>

#include "queue/amqp/address.h"

namespace qx::queue {

inline constexpr char kJobsQueue[] = "idphoto.jobs", kAnswersQueue[] = "idphoto.answers", kDeadQueue[] = "idphoto.dead";

struct AmqpSettings {
  using Clock = std::chrono::steady_clock;

  AmqpAddress address;
  std::string password;                           // in no text that anything here writes
  std::filesystem::path caFile;                   // who may vouch for the server; those of the system if empty
  std::filesystem::path certFile, keyFile;        // this end's own, both or none; PEM, as the others
  size_t prefetch = 2;                            // jobs in hand and ready to be taken, 1 to 1000
  std::function<void(const std::string&)> log{};  // one line; from threads that must not wait there; may be empty

  // Without anything heard for twice as long the server counts as gone.
  std::chrono::seconds heartbeat{30};
  std::chrono::milliseconds connectWait{5'000};  // for a host, and as long again for it to let this end in
  std::chrono::milliseconds confirmWait{
      30'000};                                  // for the server to say that it has a message, before another is tried
  std::chrono::milliseconds patience{60'000};   // of a call, before it throws
  std::chrono::milliseconds mostWait{30'000};   // between two attempts to connect
  std::chrono::milliseconds lookRound{15'000};  // between two looks whether the queue is still reached
};

}  // namespace qx::queue

#endif  // QX_QUEUE_AMQP_SETTINGS_H
