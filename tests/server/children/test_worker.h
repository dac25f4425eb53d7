// A worker that does what no good one does, beside all that the real one can; and how tests talk to children.
#ifndef QX_TESTS_SERVER_CHILDREN_TEST_WORKER_H
#define QX_TESTS_SERVER_CHILDREN_TEST_WORKER_H

#include <future>
#include <memory>
#include <string>

#include "server/children/child.h"
#include "server/children/children.h"

namespace qx::server {

// Commands of its own: echo (answers with the photograph), pid, sleep, spin, abort, fork, socket, open, execute, memory
// (takes as much as it gets), garble (writes what is no frame). All others are the
// photograph worker's.
std::unique_ptr<ChildWorker> MakeTestWorker(const ChildLimits& limits);

// A reply that can be waited for.
class Waited {
 public:
  Waited(Children& children, ChildRequest request);
  ChildReply Get() { return reply_.get(); }
  bool IsReady() const { return reply_.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }
  uint64_t Number() const { return number_; }

 private:
  std::future<ChildReply> reply_;
  uint64_t number_;
};

// The reply to a command without a photograph.
ChildReply Ask(Children& children, const std::string& command, const std::string& keptId = "");

// Waits until that is so; false when it takes too long.
bool Eventually(const std::function<bool()>& isSo);

}  // namespace qx::server

#endif  // QX_TESTS_SERVER_CHILDREN_TEST_WORKER_H
