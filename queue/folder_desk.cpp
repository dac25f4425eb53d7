#include "queue/folder_desk.h"

#include <algorithm>

namespace qx::queue {

FolderDesk::FolderDesk(const std::filesystem::path& path) : self_(Owner::Self()), folder_(path) {}

bool FolderDesk::Submit(const Job& job) {
  const std::string text = ToText(job);
  if (!looked_) {
    for (const char* folder : {QueueFolder::kJobs, QueueFolder::kClaims, QueueFolder::kAnswers}) {
      for (const std::string& name : folder_.Names(folder)) known_.insert(name.substr(0, name.find('.')));
    }
    looked_ = true;
  }
  if (!known_.insert(job.id).second) return false;
  folder_.Remove(QueueFolder::kDead, job.id + ".json");
  folder_.Write(QueueFolder::kJobs, JobName{job.id, 0, {}, 0}.Text(), text, self_);
  return true;
}

size_t FolderDesk::Collect(const AnswerTakers& takers) {
  size_t count = 0;
  for (const char* folder : {QueueFolder::kAnswers, QueueFolder::kDead}) {
    const bool isAnswer = folder == QueueFolder::kAnswers;
    for (const std::string& name : folder_.Names(folder)) {
      const auto text = folder_.Read(folder, name, kMostAnswerBytes);
      if (!text) continue;  // another one was quicker
      if (isAnswer) {
        takers.answer(ParseAnswer(*text));
      } else {
        takers.dead(ParseDead(*text));
      }
      folder_.Remove(folder, name);
      ++count;
    }
  }
  return count;
}

SourceCounts FolderDesk::Count() {
  return CountOf(folder_);
}

SourceCounts CountOf(const QueueFolder& folder) {
  const auto count = [&](const char* where) {
    const std::vector<std::string> names = folder.Names(where);
    const auto isJob = [](const std::string& name) { return JobName::Parse(name).has_value(); };
    return static_cast<size_t>(std::count_if(names.begin(), names.end(), isJob));
  };
  // What goes back from a claim between the two is missed; whoever gave it back still looks for jobs.
  const size_t waiting = count(QueueFolder::kJobs);
  return {waiting, count(QueueFolder::kClaims), true};
}

}  // namespace qx::queue
