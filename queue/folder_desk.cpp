#include "queue/folder_desk.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "photo/base/text.h"

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

template <typename Message>
size_t FolderDesk::CollectFrom(const char* folder, Message (*parse)(std::string_view),
                               const std::function<void(const Message&)>& take, const AnswerTakers& takers) const {
  const auto read = [&](const std::string& name, const std::string& text) -> std::optional<Message> {
    try {
      return parse(text);
    } catch (const BadMessage& bad) {
      const std::string file = photo::Printable(folder_.At(folder, name).native());
      if (takers.unreadable) takers.unreadable(file + ": is no message: " + bad.what());
      return std::nullopt;
    }
  };
  size_t count = 0;
  for (const std::string& name : folder_.Names(folder)) {
    const auto text = folder_.Read(folder, name, kMostAnswerBytes);
    if (!text) continue;  // another one was quicker
    const auto message = read(name, *text);
    if (!message) continue;
    take(*message);
    folder_.Remove(folder, name);
    ++count;
  }
  return count;
}

size_t FolderDesk::Collect(const AnswerTakers& takers) {
  return CollectFrom<Answer>(QueueFolder::kAnswers, ParseAnswer, takers.answer, takers) +
         CollectFrom<Dead>(QueueFolder::kDead, ParseDead, takers.dead, takers);
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
