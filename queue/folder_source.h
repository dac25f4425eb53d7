// Jobs that are files of a folder, which one computer has or several share.
#ifndef QX_QUEUE_FOLDER_SOURCE_H
#define QX_QUEUE_FOLDER_SOURCE_H

#include <chrono>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>

#include "queue/job_source.h"
#include "queue/queue_folder.h"

namespace qx::queue {

struct FolderSettings {
  using Clock = std::chrono::steady_clock;

  std::filesystem::path path;                  // created if missing
  std::chrono::milliseconds silence{60'000};   // after so long without a sign of life a worker elsewhere counts as gone
  std::chrono::milliseconds lookRound{1'000};  // between two looks for claims of workers that are gone
  std::chrono::milliseconds look{200};         // between two looks for jobs while there are none
  std::function<Clock::time_point()> now = {};  // for tests; the system's otherwise
  std::function<void()> step = {};              // for tests: called between any two changes of the folder
};

// Every step is one renaming, so that a worker may be killed at any time: taking a job names its owner and counts the
// try, and an answer is on the disk before the claim goes. Of a worker of this computer the system knows whether it
// lives. One elsewhere shows it by the times of its claims, which a thread keeps young: that such a time changes is
// what counts, not what it is, so that clocks may differ.
class FolderSource final : public JobSource {
 public:
  // Throws SourceFailure.
  explicit FolderSource(FolderSettings settings);
  // Returns what is still in hand.
  ~FolderSource() override;

  std::optional<Claim> Take(std::chrono::milliseconds wait) override;
  void Finish(const Claim& claim, const Answer& answer) override;
  void GiveBack(const Claim& claim, const std::string& reason) override;
  void Return(const Claim& claim) override;
  void Bury(const Claim& claim, const std::string& reason) override;
  SourceCounts Count() override;

 private:
  struct Sign {
    std::filesystem::file_time_type time;
    FolderSettings::Clock::time_point since;  // when it was first seen
  };

  std::optional<Claim> TakeWaiting();
  std::optional<Claim> TakeOrphan();
  std::optional<Claim> Hold(const char* from, const std::string& name, int tries);
  std::optional<Claim> Held(const JobName& name, int tries);
  std::optional<Claim> Open(const JobName& name);
  std::deque<std::string> Orphans();
  bool IsGone(const char* folder, const std::string& name, const Owner& owner, std::map<std::string, Sign>* signs);
  void RemoveLeftovers(std::map<std::string, Sign>* signs);
  void BuryText(const JobName& name, const std::vector<Job>& job, const std::string& reason);
  void LetGo(const std::string& tag);
  void ShowLife();

  const FolderSettings settings_;
  const Owner self_;
  const QueueFolder folder_;
  std::mutex mutex_;  // of all below
  std::deque<std::string> waiting_, orphans_;
  std::map<std::string, Sign> signs_;
  std::optional<FolderSettings::Clock::time_point> looked_;
  std::set<std::string> inHand_;
  bool ends_ = false;
  std::condition_variable end_;
  std::thread lifeSigns_;
};

}  // namespace qx::queue

#endif  // QX_QUEUE_FOLDER_SOURCE_H
