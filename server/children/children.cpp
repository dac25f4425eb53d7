#include "server/children/children.h"

#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "server/children/link.h"

namespace qx::server {
namespace {

constexpr std::chrono::milliseconds kFirstPause{100}, kLongestPause{10'000};

ChildReply Refusal(ChildReply::Kind kind, const char* text) {
  ChildReply reply;
  reply.kind = kind;
  reply.text = text;
  return reply;
}

ChildrenSettings WithShares(ChildrenSettings settings) {
  const uint64_t count = std::max<uint64_t>(settings.count, 1);
  settings.limits.keptPhotos = std::min(settings.limits.keptPhotos, std::max<uint64_t>(settings.keptPhotos / count, 1));
  settings.limits.keptBytes = std::min(settings.limits.keptBytes, settings.keptBytes / count);
  return settings;
}

}  // namespace

class Children::Pool {
 public:
  explicit Pool(const ChildrenSettings& settings)
      : settings_(WithShares(settings)), wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (wake_.Number() < 0) throw std::system_error(errno, std::generic_category(), "children");
    thread_ = std::thread([this] { Live(); });
  }
  ~Pool() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      isStopped_ = isEnding_ = true;
    }
    Wake();
    thread_.join();
  }

  uint64_t Run(ChildRequest request, Callback callback) {
    std::unique_lock<std::mutex> lock(mutex_);
    const uint64_t number = ++lastNumber_;
    const bool isRefused = isStopped_ || waiting_.size() >= settings_.mostWaiting;
    // Refusals too come from the thread of the children.
    (isRefused ? refused_ : waiting_)
        .push_back({number, std::move(request), std::move(callback), Clock::now() + settings_.waitTime});
    lock.unlock();
    Wake();
    return number;
  }

  bool Cancel(uint64_t number) {
    ChildJob cancelled;  // ends after the lock
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto place =
        std::find_if(waiting_.begin(), waiting_.end(), [number](const ChildJob& job) { return job.number == number; });
    if (place == waiting_.end()) return false;
    cancelled = std::move(*place);
    waiting_.erase(place);
    return true;
  }

  void Stop() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      isStopped_ = true;
    }
    Wake();
  }

  ChildrenState State() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    ChildrenState state = state_;
    state.waiting = waiting_.size();
    return state;
  }

 private:
  using Replies = std::vector<std::pair<Callback, ChildReply>>;

  // The life of the thread.
  void Live() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);  // signals are the program's other threads' matter
    while (!IsOver()) {
      Replenish();
      for (auto& [callback, reply] : HandOut()) callback(std::move(reply));
      Count();
      Wait();
      RemoveGone();
    }
  }

  bool IsOver() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return isStopped_ && links_.empty() && waiting_.empty() && refused_.empty();
  }

  // True when children are no longer wanted, which they have then been told.
  bool HasSentAway() {
    std::unique_lock<std::mutex> lock(mutex_);
    const bool isStopped = isStopped_, isEnding = isEnding_;
    lock.unlock();
    for (const auto& link : links_) {
      if (isStopped) link->Leave();
      if (isEnding) link->End();
    }
    return isStopped;
  }

  void Replenish() {
    if (HasSentAway()) return;
    auto serving = static_cast<size_t>(
        std::count_if(links_.begin(), links_.end(), [](const auto& link) { return !link->IsRetiring(); }));
    // Somebody who goes on asking for what is kept must not have processes pile up.
    const size_t retiring = links_.size() - serving;
    for (size_t i = 0, many = retiring; i < links_.size() && many > settings_.count; ++i) {
      if (!links_[i]->IsRetiring()) continue;
      links_[i]->LetGo();
      --many;
    }
    while (serving < settings_.count && Clock::now() >= nextStart_) {
      try {
        links_.push_back(std::make_unique<ChildLink>(settings_));
        ++serving;
        ++started_;
      } catch (const std::exception& exception) {
        if (settings_.log) settings_.log(std::string("no child can be started: ") + exception.what());
        Pause();
      }
    }
  }

  void Pause() {
    nextStart_ = Clock::now() + pause_;
    pause_ = std::min(pause_ * 2, kLongestPause);
  }

  // Gives waiting requests to idle children, the oldest first, and takes out those that nobody will serve.
  Replies HandOut() {
    Replies replies;
    const std::lock_guard<std::mutex> lock(mutex_);
    for (ChildJob& job : refused_) {
      const char* const text = isStopped_ ? "the server is stopping" : "too many photographs wait";
      replies.emplace_back(std::move(job.callback), Refusal(ChildReply::Kind::kBusy, text));
    }
    refused_.clear();
    const Clock::time_point now = Clock::now();
    for (auto job = waiting_.begin(); job != waiting_.end();) {
      ChildLink* const link = isStopped_ ? nullptr : LinkFor(job->request);
      if (job->request.abandoned && job->request.abandoned()) {
        replies.emplace_back(std::move(job->callback), Refusal(ChildReply::Kind::kCancelled, "nobody waits for it"));
      } else if (isStopped_) {
        replies.emplace_back(std::move(job->callback), Refusal(ChildReply::Kind::kCancelled, "the server is stopping"));
      } else if (!link && NeedsKept(job->request)) {
        replies.emplace_back(std::move(job->callback), FailureReply(kNotKept, "the photograph is kept no longer"));
      } else if (link && link->Now() == ChildLink::State::kIdle) {
        link->Ask(std::move(*job));
      } else if (now >= job->until) {
        replies.emplace_back(std::move(job->callback), Refusal(ChildReply::Kind::kBusy, "the wait was too long"));
      } else {
        ++job;
        continue;
      }
      job = waiting_.erase(job);
    }
    return replies;
  }

  // Who is to serve it, idle or not; null when nobody is idle, or nobody keeps the photograph.
  ChildLink* LinkFor(const ChildRequest& request) const {
    ChildLink* best = nullptr;
    for (const auto& link : links_) {
      const bool isHere = link->Now() == ChildLink::State::kIdle || link->Now() == ChildLink::State::kBusy;
      if (NeedsKept(request)) {
        if (isHere && link->Keeps(request.keptId)) return link.get();
      } else if (link->Now() == ChildLink::State::kIdle && !link->IsRetiring() &&
                 (!best || link->Kept() < best->Kept())) {
        best = link.get();
      }
    }
    return best;
  }

  void Wait() {
    std::vector<pollfd> wanted{{wake_.Number(), POLLIN, 0}};
    for (const auto& link : links_) link->AddTo(&wanted);
    if (poll(wanted.data(), wanted.size(), Milliseconds()) < 0) return;
    uint64_t ignored;
    if (wanted[0].revents != 0 && read(wake_.Number(), &ignored, sizeof ignored) < 0) return;
    for (size_t i = 0; i < links_.size(); ++i) links_[i]->Work(&wanted[1 + 3 * i]);
  }

  int Milliseconds() {
    const Clock::time_point now = Clock::now();
    Clock::time_point next = now + std::chrono::seconds(60);
    if (nextStart_ > now) next = std::min(next, nextStart_);
    for (const auto& link : links_) next = std::min(next, link->Deadline());
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const ChildJob& job : waiting_) next = std::min(next, job.until);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - now).count();
    return static_cast<int>(std::max<int64_t>(left, 0));
  }

  void RemoveGone() {
    for (auto link = links_.begin(); link != links_.end();) {
      if ((*link)->HasAnswered()) pause_ = kFirstPause;
      if ((*link)->Now() != ChildLink::State::kGone) {
        ++link;
        continue;
      }
      ++((*link)->HasDied() ? died_ : replaced_);
      // Whoever ends before anything was asked of it would do so again at once.
      if ((*link)->HasDied() && !(*link)->WasAsked()) Pause();
      link = links_.erase(link);
    }
  }

  void Count() {
    ChildrenState state;
    for (const auto& link : links_) {
      const bool isBusy = link->Now() == ChildLink::State::kBusy;
      state.ready += isBusy || link->Now() == ChildLink::State::kIdle;
      state.busy += isBusy;
      state.keptPhotos += link->Kept();
      state.processes.push_back(link->Id());
    }
    state.started = started_;
    state.died = died_;
    state.replaced = replaced_;
    const std::lock_guard<std::mutex> lock(mutex_);
    state_ = state;
  }

  void Wake() {
    const uint64_t one = 1;
    // Fails only where a wake is due already.
    if (write(wake_.Number(), &one, sizeof one) < 0) return;
  }

  const ChildrenSettings settings_;
  const Descriptor wake_;

  mutable std::mutex mutex_;  // of these
  std::deque<ChildJob> waiting_, refused_;
  uint64_t lastNumber_ = 0;
  bool isStopped_ = false, isEnding_ = false;
  ChildrenState state_;

  // Of the thread.
  std::vector<std::unique_ptr<ChildLink>> links_;
  Clock::time_point nextStart_;
  std::chrono::milliseconds pause_ = kFirstPause;
  uint64_t started_ = 0, died_ = 0, replaced_ = 0;

  std::thread thread_;
};

Children::Children(const ChildrenSettings& settings) : pool_(std::make_unique<Pool>(settings)) {}
Children::~Children() = default;

uint64_t Children::Run(ChildRequest request, Callback callback) {
  return pool_->Run(std::move(request), std::move(callback));
}

bool Children::Cancel(uint64_t number) {
  return pool_->Cancel(number);
}

void Children::Stop() {
  pool_->Stop();
}

ChildrenState Children::State() const {
  return pool_->State();
}

}  // namespace qx::server
