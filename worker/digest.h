// SHA-256 (FIPS 180-4), by which a job says which photograph it means.
#ifndef QX_WORKER_DIGEST_H
#define QX_WORKER_DIGEST_H

#include <cstddef>
#include <memory>
#include <string>

namespace qx::worker {

class Digest {
 public:
  // Throws std::runtime_error where the library has no such digest.
  Digest();
  ~Digest();
  Digest(const Digest&) = delete;
  Digest& operator=(const Digest&) = delete;

  void Add(const void* bytes, size_t size);
  // 64 digits of 0-9 and a-f; once.
  std::string Text();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

std::string DigestOf(const void* bytes, size_t size);

}  // namespace qx::worker

#endif  // QX_WORKER_DIGEST_H
