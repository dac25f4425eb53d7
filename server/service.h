// The photographs' part of the interface: requests become orders, which children fill.
#ifndef QX_SERVER_SERVICE_H
#define QX_SERVER_SERVICE_H

#include <chrono>
#include <functional>
#include <string>

#include "server/children/children.h"
#include "server/children/stage_times.h"
#include "server/http/message.h"

namespace qx::server {

class Service final : public Handler {
 public:
  // Starts the children. Throws std::system_error.
  explicit Service(const ChildrenSettings& settings);

  void Handle(Request request, std::function<void(Response)> reply) override;
  bool Ready() const override { return children_.State().ready > 0; }
  std::string Version() const override;
  std::string Metrics() const override;
  // For those who order work besides.
  Children& Workers() { return children_; }

 private:
  using Reply = std::function<void(Response)>;
  // An answer as a response; what it throws is answered as a problem.
  using Shape = std::function<Response(const ChildReply&)>;

  Response Presets(const Request& request) const;
  void Command(Request request, Reply reply);
  void Keep(Request request, Reply reply);
  void Drop(Request request, Reply reply);
  void WorkOnKept(Request request, Reply reply);
  void Ask(ChildRequest asked, Shape shape, Reply reply);

  const std::chrono::seconds keptTime_;
  const std::string presets_;  // all documents
  StageTimes stages_;
  Children children_;  // ends first: its replies use the others
};

}  // namespace qx::server

#endif  // QX_SERVER_SERVICE_H
