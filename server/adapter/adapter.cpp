#include "server/adapter/adapter.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <memory>
#include <utility>

#include "server/adapter/base64.h"
#include "server/adapter/form.h"
#include "server/answer.h"
#include "server/http/problem.h"

namespace qx::server {
namespace {

// Of all pictures of an answer, before they become text: an answer waits in memory for its client.
constexpr size_t kMostPictureBytes = 64 << 20;
constexpr size_t kMostWaitingBytes = 256 << 20;

void Append(std::string_view text, Bytes* bytes) {
  bytes->insert(bytes->end(), text.begin(), text.end());
}

}  // namespace

Response FormAnswer(const std::vector<std::string_view>& members, const ChildReply& reply) {
  if (reply.pictures.size() != members.size()) {
    throw Problem(422, "not_possible", "the photograph could not be worked on");
  }
  size_t pictures = 0, length = 100 * (members.size() + 1);
  for (const ChildPicture& picture : reply.pictures) {
    pictures += picture.bytes.size();
    length += Base64Length(picture.bytes.size());
  }
  if (pictures > kMostPictureBytes) {
    throw Problem(
        422, "answer_too_large",
        "the pictures are too large for an answer of text; the paths under /v1 answer with the picture itself",
        {{"limit", static_cast<double>(kMostPictureBytes)}, {"got", static_cast<double>(pictures)}});
  }
  Response response;
  response.headers = {{"Content-Type", "application/json"}};
  Bytes& body = response.body;
  body.reserve(length);
  Append("{\"status\": true", &body);
  for (size_t i = 0; i < members.size(); ++i) {
    const ChildPicture& picture = reply.pictures[i];
    Append(", \"" + std::string(members[i]) + "\": \"data:" + picture.type + ";base64,", &body);
    AppendBase64(picture.bytes.data(), picture.bytes.size(), &body);
    Append("\"", &body);
  }
  Append("}\n", &body);
  return response;
}

class Adapter::Desk : public std::enable_shared_from_this<Desk> {
 public:
  using Reply = std::function<void(Response)>;

  Desk(Children* children, std::chrono::seconds retryAfter) : children_(*children), retryAfter_(retryAfter) {}

  // From that step on.
  void Work(const Translation& translation, size_t step, photo::Bytes picture, std::function<bool()> abandoned,
            Reply reply) {
    ChildRequest asked;
    asked.command = translation.steps[step].command;
    asked.options = translation.steps[step].options;
    asked.photo = std::move(picture);
    asked.abandoned = abandoned;
    const auto next = [self = shared_from_this(), translation, step, abandoned = std::move(abandoned),
                       reply = std::move(reply)](ChildReply answer) {
      try {
        if (answer.kind != ChildReply::Kind::kAnswer) return reply(FailureAnswer(answer));
        const bool isLast = step + 1 == translation.steps.size() || answer.pictures.empty();
        if (isLast) return reply(self->Held(FormAnswer(translation.members, answer)));
        self->Work(translation, step + 1, std::move(answer.pictures[0].bytes), abandoned, reply);
      } catch (const std::exception& exception) {
        reply(ProblemResponse(exception));
      }
    };
    children_.Run(std::move(asked), next);
  }

 private:
  Response Held(Response response) {
    const size_t bytes = response.body.size();
    if (waitingBytes_.fetch_add(bytes) + bytes > kMostWaitingBytes) {
      waitingBytes_.fetch_sub(bytes);
      return BusyResponse(retryAfter_, "too many answers wait for their clients");
    }
    response.held = std::shared_ptr<void>(
        nullptr, [self = shared_from_this(), bytes](void*) { self->waitingBytes_.fetch_sub(bytes); });
    return response;
  }

  Children& children_;
  const std::chrono::seconds retryAfter_;
  std::atomic<size_t> waitingBytes_{0};
};

Adapter::Adapter(Handler* others, Children* children, const Limits& limits)
    : others_(*others), limits_(limits), desk_(std::make_shared<Desk>(children, limits.retryAfter)) {}

void Adapter::Handle(Request request, std::function<void(Response)> reply) {
  if (request.route.place != Place::kForm) return others_.Handle(std::move(request), std::move(reply));
  Form form = ReadForm(std::move(request.photo), request.contentType, limits_);
  Pairs fields = std::move(request.options);  // of the query: some clients put all fields there
  fields.insert(fields.end(), form.fields.begin(), form.fields.end());
  desk_->Work(Translate(request.route.name, fields), 0, photo::Bytes(form.picture.begin(), form.picture.end()),
              std::move(request.abandoned), std::move(reply));
}

}  // namespace qx::server
