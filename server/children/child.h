// The child's side: a process that reads and computes on photographs for a server, so that a hostile one costs this
// process and no other.
//
// A child is the same program, started anew: what it needs is in it, addresses are random ones of its own, and nothing
// of the server is in its memory, neither other people's photographs nor tokens.
#ifndef QX_SERVER_CHILDREN_CHILD_H
#define QX_SERVER_CHILDREN_CHILD_H

#include <functional>
#include <memory>

#include "server/children/message.h"

namespace qx::server {

// What answers in a child. Made before the process is confined, so here is the time to load whatever lies in files.
class ChildWorker {
 public:
  virtual ~ChildWorker() = default;
  // An exception becomes a failure.
  virtual ChildReply Answer(ChildRequest request) = 0;
  // Called now and then while nothing is asked.
  virtual void Rest() {}
};
using MakeWorker = std::function<std::unique_ptr<ChildWorker>(const ChildLimits&)>;

// True in a process that Children has started. main asks before anything else: before threads and before it reads its
// arguments, which are not a user's then. A user who writes the same arguments is not meant: there is no server at the
// other end.
bool IsChild(int argc, char** argv);

// The life of a child, from main: serves until the server closes the connection. Gives the exit status.
int RunChild(const MakeWorker& makeWorker);

}  // namespace qx::server

#endif  // QX_SERVER_CHILDREN_CHILD_H
