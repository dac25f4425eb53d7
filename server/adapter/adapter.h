// The seven forms of HivisionIDPhotos, so that its clients can move over.
#ifndef QX_SERVER_ADAPTER_ADAPTER_H
#define QX_SERVER_ADAPTER_ADAPTER_H

#include <functional>
#include <string>
#include <vector>

#include "server/adapter/translate.h"
#include "server/children/children.h"
#include "server/limits.h"
#include "server/message.h"

namespace qx::server {

// Fills the forms by children, and hands all other requests on. The answer is JSON: `status`, which is true, and
// pictures as data: URLs; every failure is a problem document with its own status.
class Adapter final : public Handler {
 public:
  // Both outlive it.
  Adapter(Handler* others, Children* children, const Limits& limits)
      : others_(*others), children_(*children), limits_(limits) {}

  void Handle(Request request, std::function<void(Response)> reply) override;
  bool Ready() const override { return others_.Ready(); }
  std::string Metrics() const override { return others_.Metrics(); }

 private:
  void Take(const Translation& translation, size_t step, photo::Bytes picture, std::function<void(Response)> reply);

  Handler& others_;
  Children& children_;
  const Limits limits_;
};

// Of a reply with as many pictures as there are members. Throws Problem for other numbers, and for pictures that are
// too large to be sent as text.
Response FormAnswer(const std::vector<std::string_view>& members, const ChildReply& reply);

}  // namespace qx::server

#endif  // QX_SERVER_ADAPTER_ADAPTER_H
