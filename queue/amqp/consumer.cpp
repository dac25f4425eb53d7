#include "queue/amqp/consumer.h"

#include <algorithm>
#include <memory>
#include <thread>
#include <utility>

namespace qx::queue {
namespace {

constexpr char kNoLeader[] = "the queue has no leader that can be reached";
// For deliveries that the server had sent on their way before it said something else.
constexpr std::chrono::milliseconds kUnderway{100};

}  // namespace

Consumer::Consumer(const AmqpSettings& settings, std::vector<const char*> queues, size_t prefetch)
    : settings_(settings), queues_(std::move(queues)), prefetch_(prefetch), thread_(settings, "receiving", this) {
  thread_.Start();
}

Consumer::~Consumer() {
  thread_.Stop();
}

std::optional<Consumer::Item> Consumer::Take(std::chrono::milliseconds wait) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (std::exchange(paused_, false)) thread_.Wake();
  came_.wait_for(lock, wait, [this] { return !items_.empty(); });
  if (items_.empty()) return std::nullopt;
  Item item = std::move(items_.front());
  items_.pop_front();
  return item;
}

std::vector<Consumer::Item> Consumer::TakeAll() {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<Item> all(std::make_move_iterator(items_.begin()), std::make_move_iterator(items_.end()));
  items_.clear();
  return all;
}

size_t Consumer::Ready() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return items_.size();
}

bool Consumer::IsOurs(const DeliveryName& name) {
  const std::lock_guard<std::mutex> lock(mutex_);
  return linked_ && name.link == link_;
}

void Consumer::Settle(const DeliveryName& name, bool requeue) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!linked_ || name.link != link_) return;
  settlements_.push_back({name.number, requeue});
  thread_.Wake();
}

void Consumer::Pause() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    paused_ = true;
  }
  try {
    const auto consumed = std::make_shared<bool>(false);
    thread_.Call([this, consumed](Link& link) {
      *consumed = std::exchange(consumes_, false);
      if (*consumed) {
        for (const char* queue : queues_) link.Cancel(queue);
      }
      Receive(link);
    });
    if (!*consumed) return;
    std::this_thread::sleep_for(kUnderway);
    thread_.Call([this](Link& link) { Receive(link); });
  } catch (const SourceFailure&) {
    // Without a link nothing comes either.
  }
}

QueueState Consumer::Look(Link& link) {
  QueueState all;
  for (const char* queue : queues_) {
    const QueueState state = link.Look(queue);
    all.waiting += state.waiting;
    // A server that does not reach the one that leads a queue says that nothing waits there and nobody consumes. This
    // end does.
    all.consumers = queue == queues_.front() ? state.consumers : std::min(all.consumers, state.consumers);
  }
  return all;
}

size_t Consumer::Waiting() {
  size_t waiting = LookAndReceive();
  // What is on its way here waits no more and has not come: the server answers before it sends that.
  if (waiting == 0 && Ready() == 0) {
    std::this_thread::sleep_for(kUnderway);
    waiting = LookAndReceive();
  }
  return waiting;
}

size_t Consumer::LookAndReceive() {
  const auto waiting = std::make_shared<std::optional<size_t>>();
  thread_.Call([this, waiting](Link& link) {
    const QueueState state = Look(link);
    if (!consumes_ || state.consumers > 0) *waiting = state.waiting;
    Receive(link);
  });
  if (!*waiting) throw SourceFailure(kNoLeader);
  return **waiting;
}

void Consumer::Begin(Link& link) {
  link.DeclareQueues();
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++link_;
    open_ = 0;
    linked_ = true;
  }
  consumes_ = false;
  unreached_ = 0;
  looked_ = AmqpSettings::Clock::now();
}

void Consumer::Work(Link& link) {
  std::deque<Settlement> settlements;
  bool wanted = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    settlements.swap(settlements_);
    open_ -= std::min(open_, settlements.size());
    // A new consumer is granted all of its deliveries anew.
    wanted = !paused_ && open_ == 0;
  }
  for (const Settlement& settlement : settlements) {
    if (settlement.requeue) {
      link.Requeue(settlement.number);
    } else {
      link.Acknowledge(settlement.number);
    }
  }
  if (wanted && !std::exchange(consumes_, true)) {
    for (const char* queue : queues_) link.Consume(queue, prefetch_);
  }
  LookNowAndThen(link);
}

// A server that is cut off from the others goes on listening, and nothing ever comes from it.
void Consumer::LookNowAndThen(Link& link) {
  const auto now = AmqpSettings::Clock::now();
  if (!consumes_ || now - looked_ < settings_.lookRound) return;
  looked_ = now;
  // A new leader may just be being chosen.
  unreached_ = Look(link).consumers == 0 ? unreached_ + 1 : 0;
  if (unreached_ > 1) throw SourceFailure(kNoLeader);
}

void Consumer::Handle(LinkEvent event) {
  if (event.kind != LinkEvent::Kind::kDelivery) throw SourceFailure("the server confirms what nobody sent");
  const std::lock_guard<std::mutex> lock(mutex_);
  if (++open_ > prefetch_ * queues_.size()) throw SourceFailure("the server sends more than it was asked for");
  const DeliveryName name{link_, event.delivery.number};
  items_.push_back({name, std::move(event.delivery)});
  came_.notify_one();
}

void Consumer::Receive(Link& link) {
  while (auto event = link.Next()) Handle(std::move(*event));
}

void Consumer::Lose(const std::string&) {
  const std::lock_guard<std::mutex> lock(mutex_);
  linked_ = false;
  items_.clear();
  settlements_.clear();
}

}  // namespace qx::queue
