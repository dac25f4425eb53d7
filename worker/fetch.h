// Photographs by their addresses on the web.
#ifndef QX_WORKER_FETCH_H
#define QX_WORKER_FETCH_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "photo/base/image.h"

namespace qx::worker {

struct FetchLimits {
  uint64_t bytes = 32'000'000;
  std::chrono::milliseconds time{60'000};
};

// One connection after the other, kept for the next photograph of the same server. No redirects, since they would lead
// to where nobody said that it may read; no proxies of the environment, no cookies, no passwords of other files.
// For one thread.
class Fetcher {
 public:
  Fetcher();
  ~Fetcher();
  Fetcher(const Fetcher&) = delete;
  Fetcher& operator=(const Fetcher&) = delete;

  // `abandoned` is asked now and then. Throws Refusal for what the server will answer the next time too, Trouble for
  // what it may not, NotBegun when abandoned.
  photo::Bytes Fetch(const std::string& address, const FetchLimits& limits, const std::function<bool()>& abandoned);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qx::worker

#endif  // QX_WORKER_FETCH_H
