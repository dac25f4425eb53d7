// A job's two files: the photograph that is read and the one that is made.
#ifndef QX_WORKER_FILES_H
#define QX_WORKER_FILES_H

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "photo/base/image.h"
#include "server/children/process.h"
#include "worker/places.h"

namespace qx::worker {

// Which file of this computer it is, whatever its names.
struct FileIdentity {
  dev_t device = 0;
  ino_t number = 0;
  bool operator==(const FileIdentity& other) const { return device == other.device && number == other.number; }
};

struct ReadFile {
  photo::Bytes bytes;
  FileIdentity identity;
};

// The whole file. Where the path leads counts, through all links, and it is asked of the very file that is read. Throws
// Failure as who reads photographs does (kNoFile, kCannotRead), Refusal (not_allowed, file_too_large) and Trouble.
ReadFile ReadPhotograph(const std::string& path, const Places& places, uint64_t mostBytes);

// Where a made photograph goes.
class Destination {
 public:
  // Opens the folder. Throws Refusal (not_allowed, bad_job) and Trouble.
  Destination(const std::string& path, const Places& places);

  // The kind of file that the name asks for: "jpg" or "png".
  const std::string& Format() const { return format_; }
  // Whether there is a file of that name, and it is this one.
  bool Is(const FileIdentity& file) const;

  // Writes to a temporary name, which the job's id gives so that the next try finds what one that was killed left
  // behind, and renames: the file is there whole, beyond a loss of power, or as it was before. Throws Refusal (bad_job)
  // and Trouble, and leaves no temporary then.
  void Place(const photo::Bytes& bytes, const std::string& id) const;

 private:
  std::string path_, name_, format_;
  server::Descriptor folder_;
};

}  // namespace qx::worker

#endif  // QX_WORKER_FILES_H
