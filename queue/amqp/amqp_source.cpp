#include "queue/amqp/amqp_source.h"

#include <algorithm>
#include <charconv>
#include <thread>
#include <utility>
#include <vector>

#include "queue/amqp/dead_letter.h"

namespace qx::queue {
namespace {

using Clock = AmqpSettings::Clock;

constexpr std::chrono::milliseconds kMostRoomWait{2'000};

std::string TagOf(const DeliveryName& name) {
  return std::to_string(name.link) + "." + std::to_string(name.number);
}

}  // namespace

AmqpSource::AmqpSource(AmqpSettings settings)
    : settings_(std::move(settings)), publisher_(settings_), consumer_(settings_, {kJobsQueue}, settings_.prefetch) {}

AmqpSource::~AmqpSource() {
  consumer_.Pause();
  std::map<std::string, Claim> claims;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    claims = inHand_;
  }
  try {
    for (const auto& [tag, claim] : claims) Return(claim);
    for (const Consumer::Item& item : consumer_.TakeAll()) {
      SendBack(item.name, item.delivery.text, item.delivery.id, item.delivery.tries);
    }
  } catch (const std::exception&) {
    // The server takes it back when the connection ends.
  }
}

std::optional<Claim> AmqpSource::Take(std::chrono::milliseconds wait) {
  const auto until = Clock::now() + wait;
  while (true) {
    const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now());
    const auto item = consumer_.Take(std::max(rest, std::chrono::milliseconds(0)));
    if (!item) return std::nullopt;
    if (auto claim = Open(*item)) return claim;
  }
}

std::optional<Claim> AmqpSource::Open(const Consumer::Item& item) {
  const Delivery& delivery = item.delivery;
  Dead dead{IdOf(delivery), delivery.tries, kWorkerEnded, {}};
  try {
    Claim claim{ParseJob(delivery.text), delivery.tries + 1, TagOf(item.name)};
    if (claim.tries <= kMostTries) {
      const std::lock_guard<std::mutex> lock(mutex_);
      inHand_[claim.tag] = claim;
      return claim;
    }
    dead.id = claim.job.id;
    dead.jobs.push_back(claim.job);
  } catch (const BadMessage& bad) {
    dead.reason = std::string("is no job: ") + bad.what();
  }
  try {
    BuryText(item.name, dead);
  } catch (const SourceFailure&) {
    consumer_.Requeue(item.name);  // nobody holds a claim on it
    throw;
  }
  return std::nullopt;
}

void AmqpSource::Finish(const Claim& claim, const Answer& answer) {
  Send({kAnswersQueue, ToText(answer), answer.id});
  consumer_.Acknowledge(NameOf(claim));
  LetGo(NameOf(claim));
}

void AmqpSource::GiveBack(const Claim& claim, const std::string& reason) {
  if (claim.tries >= kMostTries) return Bury(claim, reason);
  consumer_.Requeue(NameOf(claim));
  LetGo(NameOf(claim));
}

void AmqpSource::Return(const Claim& claim) {
  consumer_.Pause();
  SendBack(NameOf(claim), ToText(claim.job), claim.job.id, claim.tries - 1);
  LetGo(NameOf(claim));
}

void AmqpSource::Bury(const Claim& claim, const std::string& reason) {
  BuryText(NameOf(claim), {claim.job.id, claim.tries, reason, {claim.job}});
  LetGo(NameOf(claim));
}

void AmqpSource::BuryText(const DeliveryName& name, const Dead& dead) {
  // When it is no longer ours somebody else has it, and may even answer it.
  if (!consumer_.IsOurs(name)) return;
  Send({kDeadQueue, ToText(dead), dead.id});
  consumer_.Acknowledge(name);
}

void AmqpSource::SendBack(const DeliveryName& name, const std::string& text, const std::string& id, int tries) {
  if (!consumer_.IsOurs(name)) return;
  if (text.size() <= kMostJobBytes && publisher_.Send({kJobsQueue, text, id, tries})) {
    consumer_.Acknowledge(name);
  } else {
    consumer_.Requeue(name);
  }
}

// Until its queue has room, or patience ends.
void AmqpSource::Send(const Letter& letter) {
  const auto until = Clock::now() + settings_.patience;
  std::chrono::milliseconds wait{50};
  for (; !publisher_.Send(letter); wait = std::min(wait * 2, kMostRoomWait)) {
    if (Clock::now() + wait > until) throw SourceFailure("the queue " + letter.queue + " is full");
    std::this_thread::sleep_for(wait);
  }
}

SourceCounts AmqpSource::Count() {
  SourceCounts counts;
  counts.waiting = consumer_.Waiting();
  counts.claimed = consumer_.Ready();
  counts.knowsOthers = false;
  const std::lock_guard<std::mutex> lock(mutex_);
  counts.claimed += inHand_.size();
  return counts;
}

DeliveryName AmqpSource::NameOf(const Claim& claim) const {
  DeliveryName name;
  const char *begin = claim.tag.data(), *end = begin + claim.tag.size();
  const auto link = std::from_chars(begin, end, name.link);
  if (link.ptr != end) std::from_chars(link.ptr + 1, end, name.number);
  return name;
}

void AmqpSource::LetGo(const DeliveryName& name) {
  const std::lock_guard<std::mutex> lock(mutex_);
  inHand_.erase(TagOf(name));
}

}  // namespace qx::queue
