#include "queue/amqp/amqp_desk.h"

#include <utility>

#include "queue/amqp/dead_letter.h"

namespace qx::queue {
namespace {

// Answers that are on their way while others are written down.
constexpr size_t kPrefetch = 64;
constexpr std::chrono::milliseconds kDeliveryWait{50};
// Of answers that are there and do not come: others collect them.
constexpr int kMostWaits = 20;

}  // namespace

AmqpDesk::AmqpDesk(AmqpSettings settings) : settings_(std::move(settings)), publisher_(settings_) {}

bool AmqpDesk::Submit(const Job& job) {
  if (submitted_.count(job.id) > 0) return false;
  if (!publisher_.Send({kJobsQueue, ToText(job), job.id})) throw QueueFull("the queue is full");
  submitted_.insert(job.id);
  return true;
}

size_t AmqpDesk::Collect(const AnswerTakers& takers) {
  if (!consumer_) consumer_.emplace(settings_, std::vector<const char*>{kAnswersQueue, kDeadQueue}, kPrefetch);
  size_t count = 0;
  for (int waits = 0; waits < kMostWaits;) {
    const auto item = consumer_->Take(kDeliveryWait);
    if (item) {
      Hand(item->delivery, takers);
      consumer_->Acknowledge(item->name);
      ++count;
      waits = 0;
    } else if (consumer_->Waiting() + consumer_->Ready() == 0) {
      break;
    } else {
      ++waits;
    }
  }
  return count;
}

void AmqpDesk::Hand(const Delivery& delivery, const AnswerTakers& takers) {
  if (delivery.queue != kAnswersQueue) return takers.dead(DeadOf(delivery));
  std::optional<Answer> answer;
  try {
    answer = ParseAnswer(delivery.text);
  } catch (const BadMessage& bad) {
    return takers.dead({IdOf(delivery), 0, std::string("is no answer: ") + bad.what(), {}});
  }
  takers.answer(*answer);
}

SourceCounts AmqpDesk::Count() {
  SourceCounts counts;
  counts.waiting = publisher_.Look(kJobsQueue).waiting;
  counts.knowsOthers = false;
  return counts;
}

}  // namespace qx::queue
