// The seven forms of HivisionIDPhotos, so that its clients can move over.
#ifndef QX_SERVER_ADAPTER_ADAPTER_H
#define QX_SERVER_ADAPTER_ADAPTER_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "server/adapter/translate.h"
#include "server/children/children.h"
#include "server/http/limits.h"
#include "server/http/message.h"

namespace qx::server {

// Fills the forms by children, and hands all other requests on. The answer is JSON: `status`, which is true, and
// pictures as data: URLs; every failure is a problem document with its own status. What waits for clients has a bound:
// 503 beyond it.
class Adapter final : public Handler {
 public:
  // Both outlive it. Replies of the children may come after its end.
  Adapter(Handler* others, Children* children, const Limits& limits);

  void Handle(Request request, std::function<void(Response)> reply) override;
  bool Ready() const override { return others_.Ready(); }
  std::string Version() const override { return others_.Version(); }
  std::string Metrics() const override { return others_.Metrics(); }

  class Desk;  // the source file's own

 private:
  Handler& others_;
  const Limits limits_;
  const std::shared_ptr<Desk> desk_;
};

// Of a reply with as many pictures as there are members. Throws Problem for other numbers, and for pictures that are
// too large to be sent as text.
Response FormAnswer(const std::vector<std::string_view>& members, const ChildReply& reply);

}  // namespace qx::server

#endif  // QX_SERVER_ADAPTER_ADAPTER_H
