#include "queue/amqp/link_thread.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <system_error>
#include <utility>

namespace qx::queue {
namespace {

constexpr std::chrono::milliseconds kFirstWait{250}, kMostRest{500};

int MadeAlarm() {
  const int alarm = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (alarm < 0) throw std::system_error(errno, std::generic_category(), "cannot make an event");
  return alarm;
}

void WaitFor(int descriptor, int alarm, std::chrono::milliseconds most) {
  std::array<pollfd, 2> both{{{alarm, POLLIN, 0}, {descriptor, POLLIN, 0}}};
  poll(both.data(), descriptor < 0 ? 1 : 2, static_cast<int>(most.count()));
  if (!(both[0].revents & POLLIN)) return;
  uint64_t count = 0;
  [[maybe_unused]] const ssize_t size = read(alarm, &count, sizeof count);
}

}  // namespace

LinkThread::LinkThread(const AmqpSettings& settings, const char* what, LinkUser* user)
    : settings_(settings), what_(what), user_(user), alarm_(MadeAlarm()), random_(std::random_device()()) {
  // So that many workers spread over the servers of a cluster.
  host_ = random_() % settings_.address.hosts.size();
}

LinkThread::~LinkThread() {
  Stop();
  close(alarm_);
}

void LinkThread::Start() {
  thread_ = std::thread([this] { Run(); });
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait(lock, [this] { return state_ != State::kConnecting; });
  if (state_ == State::kFailed) throw SourceFailure(failure_);
}

void LinkThread::Stop() {
  ends_ = true;
  Wake();
  if (thread_.joinable()) thread_.join();
}

void LinkThread::Wake() {
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t size = write(alarm_, &one, sizeof one);
}

void LinkThread::Call(std::function<void(Link&)> run) {
  const auto task = std::make_shared<Task>();
  task->run = std::move(run);
  std::unique_lock<std::mutex> lock(mutex_);
  if (state_ != State::kLinked) throw SourceFailure(failure_);
  tasks_.push_back(task);
  Wake();
  if (!changed_.wait_for(lock, settings_.patience, [&] { return task->done; })) {
    tasks_.remove(task);
    throw SourceFailure("the server does not answer");
  }
  if (!task->failure.empty()) throw SourceFailure(task->failure);
}

void LinkThread::Run() {
  // The first round of all hosts has no waits: whoever starts this wants to know.
  const size_t hosts = settings_.address.hosts.size();
  while (!Ends()) {
    const AmqpAddress::Host host = settings_.address.hosts[host_ % hosts];
    try {
      Serve(host);
    } catch (const LinkRenewal& renewal) {
      failures_ = -1;
      Lose(renewal.what(), true);
    } catch (const SourceFailure& failure) {
      Lose(failure.what());
    } catch (const std::exception& failure) {
      Lose(settings_.address.NameOf(host) + ": " + failure.what());
    }
    ++host_;
    ++failures_;
    if (Ends()) break;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (state_ != State::kConnecting) continue;
    if (static_cast<size_t>(failures_) < hosts) continue;
    state_ = State::kFailed;
    changed_.notify_all();
    return;
  }
}

void LinkThread::Serve(const AmqpAddress::Host& host) {
  bool first = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    first = state_ == State::kConnecting;
  }
  if (!first) Pause();
  if (Ends()) return;
  Link link(settings_, host);
  user_->Begin(link);
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    state_ = State::kLinked;
    changed_.notify_all();
  }
  if (!first && !std::exchange(isQuiet_, false)) Say("connected to " + settings_.address.NameOf(host) + " again");
  ServeLink(link);
}

void LinkThread::ServeLink(Link& link) {
  // Often enough for heartbeats, and for what is overdue to be seen.
  const auto rest = std::min(std::chrono::milliseconds(settings_.heartbeat) / 4, kMostRest);
  const auto since = AmqpSettings::Clock::now();
  while (true) {
    const bool ends = Ends();
    // One that is lost at once, again and again, has its growing waits too.
    if (AmqpSettings::Clock::now() - since > settings_.mostWait) failures_ = 0;
    RunTasks(link);
    user_->Work(link);
    while (auto event = link.Next()) user_->Handle(std::move(*event));
    if (ends) break;
    // What came may be a reason to send something, which the alarm tells.
    WaitFor(link.Descriptor(), alarm_, rest);
  }
  link.Close();
}

void LinkThread::RunTasks(Link& link) {
  while (true) {
    std::shared_ptr<Task> task;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (tasks_.empty()) return;
      task = tasks_.front();
      tasks_.pop_front();
    }
    try {
      task->run(link);
    } catch (const SourceFailure& failure) {
      EndTask(task, failure.what());
      throw;
    }
    EndTask(task, {});
  }
}

void LinkThread::EndTask(const std::shared_ptr<Task>& task, const std::string& failure) {
  const std::lock_guard<std::mutex> lock(mutex_);
  task->failure = failure;
  task->done = true;
  changed_.notify_all();
}

void LinkThread::Lose(const std::string& why, bool isWanted) {
  bool wasLinked = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    wasLinked = state_ == State::kLinked;
    if (wasLinked) state_ = State::kLost;
    failure_ = why;
    for (const auto& task : tasks_) {
      task->failure = why;
      task->done = true;
    }
    tasks_.clear();
    changed_.notify_all();
  }
  user_->Lose(why);
  // A line when it is lost, and one now and then for as long as that lasts.
  isQuiet_ = isWanted;
  if ((wasLinked && !isWanted) || failures_ % 8 == 7) Say(why + "; trying again");
}

void LinkThread::Pause() {
  const auto until = AmqpSettings::Clock::now() + NextWait();
  while (!Ends()) {
    const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(until - AmqpSettings::Clock::now());
    if (rest.count() <= 0) return;
    WaitFor(-1, alarm_, rest);
  }
}

// Grows with every round of all hosts, and is anything from its half to its whole, so that workers which were all cut
// off at once do not come back at once.
std::chrono::milliseconds LinkThread::NextWait() {
  const size_t round = static_cast<size_t>(failures_) / settings_.address.hosts.size();
  const auto whole = std::min(settings_.mostWait, kFirstWait * (1 << std::min<size_t>(round, 16)));
  return std::chrono::milliseconds(std::uniform_int_distribution<int64_t>(whole.count() / 2, whole.count())(random_));
}

void LinkThread::Say(const std::string& line) const {
  if (settings_.log) settings_.log(what_ + ": " + line);
}

}  // namespace qx::queue
