// Hands jobs to, and fetches answers from, a queue that is a folder.
#ifndef QX_WORKER_FOLDER_DESK_H
#define QX_WORKER_FOLDER_DESK_H

#include <filesystem>
#include <set>
#include <string>

#include "worker/job_desk.h"
#include "worker/queue_folder.h"

namespace qx::worker {

// For one thread. Several programs may submit and collect at once.
class FolderDesk final : public JobDesk {
 public:
  explicit FolderDesk(const std::filesystem::path& path);

  bool Submit(const Job& job) override;
  size_t Collect(const AnswerTakers& takers) override;
  SourceCounts Count() override;

 private:
  const Owner self_;
  const QueueFolder folder_;
  std::set<std::string> known_;  // ids, from the first Submit on
  bool looked_ = false;
};

// Of a folder: what waits and is in hand.
SourceCounts CountOf(const QueueFolder& folder);

}  // namespace qx::worker

#endif  // QX_WORKER_FOLDER_DESK_H
