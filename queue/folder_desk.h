// Hands jobs to, and fetches answers from, a queue that is a folder.
#ifndef QX_QUEUE_FOLDER_DESK_H
#define QX_QUEUE_FOLDER_DESK_H

#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <string_view>

#include "queue/job_desk.h"
#include "queue/queue_folder.h"

namespace qx::queue {

// For one thread. Several programs may submit and collect at once.
class FolderDesk final : public JobDesk {
 public:
  explicit FolderDesk(const std::filesystem::path& path);

  bool Submit(const Job& job) override;
  size_t Collect(const AnswerTakers& takers) override;
  SourceCounts Count() override;

 private:
  template <typename Message>
  size_t CollectFrom(const char* folder, Message (*parse)(std::string_view),
                     const std::function<void(const Message&)>& take, const AnswerTakers& takers) const;

  const Owner self_;
  const QueueFolder folder_;
  std::set<std::string> known_;  // ids, from the first Submit on
  bool looked_ = false;
};

// Of a folder: what waits and is in hand.
SourceCounts CountOf(const QueueFolder& folder);

}  // namespace qx::queue

#endif  // QX_QUEUE_FOLDER_DESK_H
