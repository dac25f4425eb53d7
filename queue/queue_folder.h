// The files of a queue that is a folder. What has happened to a job is which folder its file is in and what the file is
// called, so that every step is one renaming, which the file system does whole or not at all:
//
//   idphoto-queue                  the version of this form, "1"
//   jobs/ID.TRIES.json             waits; TRIES counts the tries that came to nothing
//   claims/ID.TRIES.OWNER.N.json   in hand; TRIES counts this one. OWNER says which process of which computer, and N is
//                                  different for each of its claims
//   answers/ID.json                what became of it
//   dead/ID.json                   why nobody could answer it
//   temporary/ID-N.OWNER           being written
#ifndef QX_QUEUE_QUEUE_FOLDER_H
#define QX_QUEUE_QUEUE_FOLDER_H

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "queue/owner.h"

namespace qx::queue {

struct JobName {
  std::string id;
  int tries = 0;
  std::optional<Owner> owner;  // of claims alone, as the number
  unsigned number = 0;

  std::string Text() const;
  // None for other text.
  static std::optional<JobName> Parse(std::string_view name);
};

// All calls throw SourceFailure.
class QueueFolder {
 public:
  static constexpr char kJobs[] = "jobs", kClaims[] = "claims", kAnswers[] = "answers", kDead[] = "dead",
                        kTemporary[] = "temporary";

  // Creates what is missing. `step` is called between any two changes of the folder; may be empty.
  explicit QueueFolder(std::filesystem::path path, std::function<void()> step = {});

  std::filesystem::path At(const char* folder, const std::string& name) const { return path_ / folder / name; }
  // The files of that folder, sorted; left out are hidden ones and what is no file: folders, links, pipes.
  std::vector<std::string> Names(const char* folder) const;
  bool Has(const char* folder, const std::string& name) const;

  // Bytes of a file; one more than `most` of those that are longer, none when there is no such file.
  std::optional<std::string> Read(const char* folder, const std::string& name, size_t most) const;
  // Writes it under a temporary name, and gives it its own only when the bytes are on the disk; then that too is.
  void Write(const char* folder, const std::string& name, const std::string& text, const Owner& writer) const;
  // False when the first was not there: somebody else had it.
  bool Move(const char* from, const std::string& name, const char* to, const std::string& newName) const;
  void Remove(const char* folder, const std::string& name) const;
  // A sign of life: the file's time becomes the present.
  void Touch(const char* folder, const std::string& name) const;
  std::optional<std::filesystem::file_time_type> TimeOf(const char* folder, const std::string& name) const;

 private:
  [[noreturn]] void Fail(const std::string& what, const std::filesystem::path& file, int error) const;
  void Step() const;
  void SyncFolder(const std::filesystem::path& folder) const;
  void WriteTemporary(const std::filesystem::path& file, const std::string& text) const;
  void CheckVersion();

  std::filesystem::path path_;
  std::function<void()> step_;
};

}  // namespace qx::queue

#endif  // QX_QUEUE_QUEUE_FOLDER_H
