#include "queue/amqp/dead_letter.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <optional>

namespace qx::queue {
namespace {

// FNV-1a, 64 bits.
std::string Digits(const std::string& text) {
  uint64_t hash = 14695981039346656037u;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211u;
  std::array<char, 16> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), hash, 16);
  return std::string(digits.data(), end.ptr);
}

std::string ReasonOf(const std::string& deathReason) {
  if (deathReason == "delivery_limit") return kWorkerEnded;
  return "the server gave it up" + (deathReason.empty() ? "" : ": " + deathReason);
}

}  // namespace

std::string IdOf(const Delivery& delivery) {
  return IsJobId(delivery.id) ? delivery.id : "no-job-" + Digits(delivery.text);
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
