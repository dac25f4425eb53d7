#include "queue/folder_source.h"

#include <algorithm>
#include <atomic>
#include <utility>
#include <vector>

#include "queue/folder_desk.h"

namespace qx::queue {
namespace {

using Clock = FolderSettings::Clock;

FolderSettings WithClock(FolderSettings settings) {
  if (!settings.now) settings.now = [] { return Clock::now(); };
  return settings;
}

std::string FileOf(const std::string& id) {
  return id + ".json";
}

// A claim's own name.
JobName NameOf(const Claim& claim) {
  return JobName::Parse(claim.tag).value();
}

std::optional<std::string> TakeFirst(std::deque<std::string>* names) {
  if (names->empty()) return std::nullopt;
  std::string name = std::move(names->front());
  names->pop_front();
  return name;
}

}  // namespace

FolderSource::FolderSource(FolderSettings settings)
    : settings_(WithClock(std::move(settings))),
      self_(Owner::Self()),
      folder_(settings_.path, settings_.step),
      lifeSigns_([this] { ShowLife(); }) {}

FolderSource::~FolderSource() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    ends_ = true;
  }
  end_.notify_all();
  lifeSigns_.join();
  for (const std::string& tag : std::set<std::string>(inHand_)) {
    try {
      Return({{}, 0, tag});
    } catch (const std::exception&) {
      // It stays a claim, whose owner ends.
    }
  }
}

void FolderSource::ShowLife() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!end_.wait_for(lock, settings_.silence / 4, [this] { return ends_; })) {
    const std::set<std::string> tags = inHand_;
    lock.unlock();
    for (const std::string& tag : tags) {
      try {
        folder_.Touch(QueueFolder::kClaims, tag);
      } catch (const SourceFailure&) {
        // Whoever next asks the source is told.
      }
    }
    lock.lock();
  }
}

std::optional<Claim> FolderSource::Take(std::chrono::milliseconds wait) {
  const auto until = Clock::now() + wait;
  while (true) {
    if (auto claim = TakeOrphan()) return claim;
    if (auto claim = TakeWaiting()) return claim;
    const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now());
    if (rest.count() <= 0) return std::nullopt;
    std::this_thread::sleep_for(std::min(rest, settings_.look));
  }
}

std::optional<Claim> FolderSource::TakeWaiting() {
  bool hasLooked = false;
  while (true) {
    std::optional<std::string> name;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (waiting_.empty()) {
        if (std::exchange(hasLooked, true)) return std::nullopt;
        const std::vector<std::string> names = folder_.Names(QueueFolder::kJobs);
        waiting_.assign(names.begin(), names.end());
      }
      name = TakeFirst(&waiting_);
    }
    if (!name) return std::nullopt;
    const auto job = JobName::Parse(*name);
    if (!job || job->owner) continue;  // none of ours
    if (auto claim = Hold(QueueFolder::kJobs, *name, job->tries + 1)) return claim;
  }
}

std::optional<Claim> FolderSource::TakeOrphan() {
  while (true) {
    std::optional<std::string> name;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      const auto now = settings_.now();
      if (!looked_ || now - *looked_ >= settings_.lookRound) {
        looked_ = now;
        orphans_ = Orphans();
      }
      name = TakeFirst(&orphans_);
    }
    if (!name) return std::nullopt;
    if (auto claim = Hold(QueueFolder::kClaims, *name, JobName::Parse(*name)->tries + 1)) return claim;
  }
}

std::deque<std::string> FolderSource::Orphans() {
  std::map<std::string, Sign> signs;
  std::deque<std::string> orphans;
  for (const std::string& name : folder_.Names(QueueFolder::kClaims)) {
    const auto job = JobName::Parse(name);
    if (job && job->owner && IsGone(QueueFolder::kClaims, name, *job->owner, &signs)) orphans.push_back(name);
  }
  RemoveLeftovers(&signs);
  signs_ = std::move(signs);
  return orphans;
}

bool FolderSource::IsGone(const char* folder, const std::string& name, const Owner& owner,
                          std::map<std::string, Sign>* signs) {
  if (owner.place == self_.place) return !IsAlive(owner);
  const auto time = folder_.TimeOf(folder, name);
  if (!time) return false;
  const auto seen = signs_.find(name);
  const auto now = settings_.now();
  const bool isSame = seen != signs_.end() && seen->second.time == *time;
  const Sign sign = isSame ? seen->second : Sign{*time, now};
  signs->emplace(name, sign);
  return now - sign.since >= settings_.silence;
}

void FolderSource::RemoveLeftovers(std::map<std::string, Sign>* signs) {
  for (const std::string& name : folder_.Names(QueueFolder::kTemporary)) {
    const auto owner = Owner::Parse(std::string_view(name).substr(std::min(name.find('.'), name.size() - 1) + 1));
    if (owner && IsGone(QueueFolder::kTemporary, name, *owner, signs)) folder_.Remove(QueueFolder::kTemporary, name);
  }
}

// `tries`: with the one that now begins. One too many is not begun: the file is taken all the same, since only one
// worker may bury it.
std::optional<Claim> FolderSource::Hold(const char* from, const std::string& name, int tries) {
  static std::atomic<unsigned> claims{0};  // of all sources of this process
  const JobName mine{JobName::Parse(name)->id, std::min(tries, kMostTries), self_, ++claims};
  const std::string tag = mine.Text();
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    inHand_.insert(tag);
  }
  bool isMine = false;
  try {
    isMine = folder_.Move(from, name, QueueFolder::kClaims, tag);
  } catch (...) {
    LetGo(tag);
    throw;
  }
  if (isMine) return Held(mine, tries);
  LetGo(tag);
  return std::nullopt;
}

std::optional<Claim> FolderSource::Held(const JobName& name, int tries) {
  try {
    folder_.Touch(QueueFolder::kClaims, name.Text());
    auto claim = Open(name);
    if (!claim || tries <= kMostTries) return claim;
    BuryText(name, {claim->job}, "its worker ended in the middle of it");
    return std::nullopt;
  } catch (const SourceFailure& failure) {
    // A file that cannot be read must not stay in hand for as long as this worker lives.
    if (tries >= kMostTries) {
      BuryText(name, {}, failure.what());
    } else {
      folder_.Move(QueueFolder::kClaims, name.Text(), QueueFolder::kJobs, JobName{name.id, name.tries, {}, 0}.Text());
      LetGo(name.Text());
    }
    throw;
  }
}

std::optional<Claim> FolderSource::Open(const JobName& name) {
  const std::string tag = name.Text();
  const auto text = folder_.Read(QueueFolder::kClaims, tag, kMostJobBytes);
  if (!text || folder_.Has(QueueFolder::kAnswers, FileOf(name.id))) {
    // Its worker ended between the answer and the claim's end.
    folder_.Remove(QueueFolder::kClaims, tag);
    LetGo(tag);
    return std::nullopt;
  }
  try {
    Claim claim{ParseJob(*text), name.tries, tag};
    if (claim.job.id == name.id) return claim;
    BuryText(name, {claim.job}, "is a job of another name");
  } catch (const BadMessage& bad) {
    BuryText(name, {}, std::string("is no job: ") + bad.what());
  }
  return std::nullopt;
}

void FolderSource::Finish(const Claim& claim, const Answer& answer) {
  folder_.Write(QueueFolder::kAnswers, FileOf(NameOf(claim).id), ToText(answer), self_);
  folder_.Remove(QueueFolder::kClaims, claim.tag);
  LetGo(claim.tag);
}

void FolderSource::GiveBack(const Claim& claim, const std::string& reason) {
  if (claim.tries >= kMostTries) return Bury(claim, reason);
  folder_.Move(QueueFolder::kClaims, claim.tag, QueueFolder::kJobs, JobName{claim.job.id, claim.tries, {}, 0}.Text());
  LetGo(claim.tag);
}

void FolderSource::Return(const Claim& claim) {
  const JobName name = NameOf(claim);
  folder_.Move(QueueFolder::kClaims, claim.tag, QueueFolder::kJobs, JobName{name.id, name.tries - 1, {}, 0}.Text());
  LetGo(claim.tag);
}

void FolderSource::Bury(const Claim& claim, const std::string& reason) {
  BuryText(NameOf(claim), {claim.job}, reason);
}

void FolderSource::BuryText(const JobName& name, const std::vector<Job>& job, const std::string& reason) {
  const std::string tag = name.Text();
  // While this worker was not heard of another one may have taken it, or even answered.
  const bool isOurs = folder_.Has(QueueFolder::kClaims, tag) && !folder_.Has(QueueFolder::kAnswers, FileOf(name.id));
  if (isOurs) {
    folder_.Write(QueueFolder::kDead, FileOf(name.id), ToText(Dead{name.id, name.tries, reason, job}), self_);
  }
  folder_.Remove(QueueFolder::kClaims, tag);
  LetGo(tag);
}

SourceCounts FolderSource::Count() {
  return CountOf(folder_);
}

void FolderSource::LetGo(const std::string& tag) {
  const std::lock_guard<std::mutex> lock(mutex_);
  inHand_.erase(tag);
}

}  // namespace qx::queue
