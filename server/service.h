// The photographs' part of the interface: requests become orders, which children fill.
#ifndef QX_SERVER_SERVICE_H
#define QX_SERVER_SERVICE_H

#include <functional>
#include <string>

#include "server/children/children.h"
#include "server/message.h"

namespace qx::server {

// The problem document of any reply but an answer.
Response FailureAnswer(const ChildReply& reply);

class Service final : public Handler {
 public:
  // Starts the children. Throws std::system_error.
  explicit Service(const ChildrenSettings& settings) : children_(settings) {}

  void Handle(Request request, std::function<void(Response)> reply) override;
  bool Ready() const override { return children_.State().ready > 0; }
  std::string Metrics() const override;
  // For those who order work besides.
  Children& Workers() { return children_; }

 private:
  void Ask(ChildRequest asked, bool wantsJson, unsigned status, std::function<void(Response)> reply);

  Children children_;
};

}  // namespace qx::server

#endif  // QX_SERVER_SERVICE_H
