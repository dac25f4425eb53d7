#include "server/service.h"

#include <sys/random.h>

#include <array>
#include <chrono>
#include <nlohmann/json.hpp>
#include <utility>

#include "photo/base/failure.h"
#include "server/problem.h"

namespace qx::server {
namespace {

using Json = nlohmann::ordered_json;
using photo::FailureCode;

constexpr std::chrono::seconds kSoon{2};

// 128 bits that nobody guesses.
std::string NewId() {
  std::array<uint8_t, 16> bytes;
  if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
    throw Problem(503, "busy", "there is no randomness for an id");
  }
  constexpr char kDigits[] = "0123456789abcdef";
  std::string id;
  for (const uint8_t byte : bytes) id += {kDigits[byte >> 4], kDigits[byte & 15]};
  return id;
}

unsigned StatusOfName(const std::string& code, const photo::FailureFields& fields) {
  if (code == kNotKept) return 404;
  for (int i = 0; i <= static_cast<int>(FailureCode::kEngine); ++i) {
    const auto known = static_cast<FailureCode>(i);
    if (code == NameOf(known)) return StatusOf(known, fields);
  }
  return 500;
}

Response FailureResponse(const ChildReply& reply) {
  switch (reply.kind) {
    case ChildReply::Kind::kFailure:
      return ProblemResponse(Problem(StatusOfName(reply.code, reply.fields), reply.code, reply.text, reply.fields));
    // A file that costs a child its life is refused; the server goes on.
    case ChildReply::Kind::kDied:
      return ProblemResponse(Problem(422, "not_possible", "the photograph could not be worked on"));
    case ChildReply::Kind::kTimedOut:
      return ProblemResponse(Problem(422, "not_possible", "the photograph took too long to be worked on"));
    case ChildReply::Kind::kKilled: return BusyResponse(kSoon, "the work on the photograph was ended; send it again");
    default: return BusyResponse(kSoon, "too many photographs at once");
  }
}

Response AnswerResponse(ChildReply reply, bool wantsJson, unsigned status) {
  if (wantsJson || reply.pictures.empty()) return TextResponse(status, "application/json", reply.report);
  if (reply.pictures.size() > 1) {
    return ProblemResponse(Problem(406, "several_pictures", "that would be several pictures; ask for the report"));
  }
  Response response;
  response.status = status;
  response.headers = {{"Content-Type", reply.pictures[0].type}};
  response.body = Bytes(reply.pictures[0].bytes.begin(), reply.pictures[0].bytes.end());
  return response;
}

// The form's and the query's options; in results the kind of file is asked for by Accept.
ChildRequest RequestOf(std::string command, Request* request, std::string id) {
  ChildRequest asked;
  asked.command = std::move(command);
  asked.options = std::move(request->options);
  asked.photo = photo::Bytes(request->photo.begin(), request->photo.end());
  asked.mask = photo::Bytes(request->mask.begin(), request->mask.end());
  asked.keptId = std::move(id);
  return asked;
}

}  // namespace

void Service::Ask(ChildRequest asked, bool wantsJson, unsigned status, std::function<void(Response)> reply) {
  children_.Run(std::move(asked), [wantsJson, status, reply = std::move(reply)](ChildReply answer) {
    reply(answer.kind == ChildReply::Kind::kAnswer ? AnswerResponse(std::move(answer), wantsJson, status)
                                                   : FailureResponse(answer));
  });
}

void Service::Handle(Request request, std::function<void(Response)> reply) {
  const bool wantsJson = request.wantsJson;
  const std::string name = request.route.name;
  if (request.method == "POST" && request.photo.empty()) {
    throw Problem(400, "no_photograph", "the body is empty; send the photograph");
  }
  switch (request.route.place) {
    case Place::kPresets: {
      if (!name.empty()) request.options.emplace_back("name", name);
      return Ask(RequestOf("presets", &request, ""), true, 200, std::move(reply));
    }
    case Place::kCommand: return Ask(RequestOf(name, &request, ""), wantsJson, 200, std::move(reply));
    case Place::kPhotos: {
      const std::string id = NewId();
      const auto created = [reply = std::move(reply), id](Response response) {
        if (response.status == 201) {
          Json report = Json::parse(response.body.begin(), response.body.end());
          report["id"] = id;
          response = TextResponse(201, "application/json", report.dump());
          response.headers.emplace_back("Location", "/v1/photos/" + id);
        }
        reply(std::move(response));
      };
      return Ask(RequestOf(kKeep, &request, id), true, 201, created);
    }
    case Place::kPhoto: return Ask(RequestOf(kDrop, &request, name), true, 204, std::move(reply));
    case Place::kResult:
    case Place::kPreview: return Ask(RequestOf(kRender, &request, name), wantsJson, 200, std::move(reply));
    default: throw Problem(404, "not_found", "there is no such path");
  }
}

std::string Service::Metrics() const {
  const ChildrenState state = children_.State();
  const auto line = [](const char* name, const char* kind, uint64_t value) {
    return std::string("# TYPE ") + name + " " + kind + "\n" + name + " " + std::to_string(value) + "\n";
  };
  return line("idphoto_children_ready", "gauge", state.ready) + line("idphoto_children_busy", "gauge", state.busy) +
         line("idphoto_requests_waiting", "gauge", state.waiting) +
         line("idphoto_photographs_kept", "gauge", state.keptPhotos) +
         line("idphoto_children_started_total", "counter", state.started) +
         line("idphoto_children_died_total", "counter", state.died);
}

}  // namespace qx::server
