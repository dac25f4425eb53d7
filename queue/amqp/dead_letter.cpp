#include "queue/amqp/dead_letter.h"

#include <optional>

#include "photo/base/text.h"

namespace qx::queue {
namespace {

std::string ReasonOf(const std::string& deathReason) {
  if (deathReason == "delivery_limit") return kWorkerEnded;
  return "the server gave it up" + (deathReason.empty() ? "" : ": " + deathReason);
}

}  // namespace

std::string IdOf(const Delivery& delivery) {
  return IsJobId(delivery.id) ? delivery.id : "no-job-" + photo::HashDigits(delivery.text);
}

Dead DeadOf(const Delivery& delivery) {
  std::string wrong;
  try {
    return ParseDead(delivery.text);
  } catch (const BadMessage& bad) {
    wrong = bad.what();
  }
  try {
    Dead dead{{}, kMostTries, ReasonOf(delivery.deathReason), {ParseJob(delivery.text)}};
    dead.id = dead.jobs.front().id;
    return dead;
  } catch (const BadMessage&) {
    return {IdOf(delivery), 0, "is no dead job: " + wrong, {}};
  }
}

}  // namespace qx::queue
