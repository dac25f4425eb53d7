#include "queue/amqp/publisher.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <set>

namespace qx::queue {
namespace {

constexpr std::chrono::milliseconds kMostRefusing{5'000};

}  // namespace

Publisher::Publisher(const AmqpSettings& settings) : settings_(settings), thread_(settings, "sending", this) {
  thread_.Start();
}

Publisher::~Publisher() {
  thread_.Stop();
}

bool Publisher::Send(const Letter& letter) {
  std::unique_lock<std::mutex> lock(mutex_);
  requests_.push_back({letter});
  const auto request = std::prev(requests_.end());
  thread_.Wake();
  changed_.wait_for(lock, settings_.patience, [&] { return request->state != Request::State::kWaits; });
  const Request::State state = request->state;
  requests_.erase(request);
  if (state == Request::State::kWaits) {
    throw SourceFailure(failure_.empty() ? "the server does not confirm what it is sent" : failure_);
  }
  return state == Request::State::kKept;
}

QueueState Publisher::Look(const char* queue) {
  const auto state = std::make_shared<QueueState>();
  thread_.Call([state, queue](Link& link) { *state = link.Look(queue); });
  return *state;
}

void Publisher::Begin(Link& link) {
  link.DeclareQueues();
  link.SelectConfirms();
  refused_.clear();
  const std::lock_guard<std::mutex> lock(mutex_);
  last_ = 0;
  failure_.clear();
}

void Publisher::Work(Link& link) {
  const auto now = AmqpSettings::Clock::now();
  while (true) {
    std::optional<Letter> letter;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      for (Request& request : requests_) {
        if (request.state != Request::State::kWaits) continue;
        if (request.number != 0 && now - request.sent > settings_.confirmWait) {
          throw SourceFailure("the server does not confirm what it is sent");
        }
        if (request.number != 0) continue;
        request.number = ++last_;
        request.sent = now;
        letter = request.letter;
        break;
      }
    }
    if (!letter) return;
    link.Send(*letter);
  }
}

void Publisher::Handle(LinkEvent event) {
  if (event.kind == LinkEvent::Kind::kDelivery) throw SourceFailure("the server sends what nobody asked for");
  const bool isKept = event.kind == LinkEvent::Kind::kKept;
  std::set<std::string> queues;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (Request& request : requests_) {
      const bool isMeant = request.number == event.number || (event.andBefore && request.number < event.number);
      if (!isMeant || request.number == 0 || request.state != Request::State::kWaits) continue;
      request.state = isKept ? Request::State::kKept : Request::State::kRefused;
      queues.insert(request.letter.queue);
    }
    changed_.notify_all();
  }
  for (const std::string& queue : queues) CountRefusals(queue, isKept);
}

// A channel that first sends to a queue while its leader is gone is refused for ever, though the queue has room and a
// new leader (3.10). That looks as a full queue does, of which a new link learns no less.
void Publisher::CountRefusals(const std::string& queue, bool isKept) {
  const auto now = AmqpSettings::Clock::now();
  if (isKept) {
    refused_.erase(queue);
  } else if (now - refused_.emplace(queue, now).first->second > kMostRefusing) {
    throw LinkRenewal("the queue " + queue + " refuses what it is sent");
  }
}

void Publisher::Lose(const std::string& why) {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (Request& request : requests_) request.number = 0;
  failure_ = why;
}

}  // namespace qx::queue
