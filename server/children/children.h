// The server's side: children that answer requests, one each at a time, and are replaced when they end.
//
//   Children children(settings);
//   children.Run({"make", {{"preset", "de-passport"}}, photograph, {}, ""}, [](ChildReply reply) { ... });
#ifndef QX_SERVER_CHILDREN_CHILDREN_H
#define QX_SERVER_CHILDREN_CHILDREN_H

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "server/children/message.h"

namespace qx::server {

struct ChildrenSettings {
  size_t count = 2;
  ChildLimits limits;
  std::chrono::milliseconds requestTime{20'000};  // then the child is killed
  std::chrono::milliseconds startTime{20'000};
  std::chrono::milliseconds waitTime{30'000};  // of a request for a child
  size_t mostWaiting = 128;
  // After so many photographs a child is replaced, so that nothing that one leaves behind, meant or not, lasts. One
  // that keeps photographs first serves those, up to fifty times as many requests, as long as there are not more
  // children of that sort than others.
  size_t requestsOfChild = 200;
  // Of all children together; each keeps its share, one at least, and no more than `limits` has.
  uint64_t keptPhotos = 32;
  uint64_t keptBytes = uint64_t{1} << 30;
  // Must be one that asks IsChild: this very program, unless something else is wanted.
  std::string program = "/proc/self/exe";
  // Gets lines on what children say and how they end; from the thread of the children. May be empty.
  std::function<void(const std::string& line)> log;
};

struct ChildrenState {
  size_t ready = 0;  // children that serve or could
  size_t busy = 0;   // of these
  size_t waiting = 0;
  size_t keptPhotos = 0;
  uint64_t started = 0, died = 0, replaced = 0;
  std::vector<pid_t> processes;  // of all children that have not ended
};

// For any thread.
class Children {
 public:
  using Callback = std::function<void(ChildReply)>;

  // Starts a thread, which starts the children; requests may come at once. Throws std::system_error.
  explicit Children(const ChildrenSettings& settings);
  // Stops, and ends the requests that run: whoever waits for one keeps this alive.
  ~Children();
  Children(const Children&) = delete;
  Children& operator=(const Children&) = delete;

  // Calls `callback` once, from the thread of the children, which must not be held up there: hand the reply on. It may
  // call Run and Cancel. The result is a number for Cancel. In the request, `keptId` names the photograph for
  //   keep    decodes and analyses it, and keeps it for requests of its id
  //   drop    lets it go
  // and any other command with an id is one on the kept photograph. Ids are secrets between the caller and its clients.
  uint64_t Run(ChildRequest request, Callback callback);
  // True when the request had not begun: it never will, and its callback is not called.
  bool Cancel(uint64_t number);
  // No more requests begin; those that run are answered. Does not wait.
  void Stop();
  ChildrenState State() const;

 private:
  class Pool;
  std::unique_ptr<Pool> pool_;
};

}  // namespace qx::server

#endif  // QX_SERVER_CHILDREN_CHILDREN_H
