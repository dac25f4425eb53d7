#include "server/service.h"

#include <sys/random.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>
#include <utility>

#include "orders/presets.h"
#include "photo/base/failure.h"
#include "server/answer.h"
#include "server/children/process.h"
#include "server/description/openapi.h"
#include "server/http/files.h"
#include "server/http/problem.h"
#include "server/zip.h"

namespace qx::server {
namespace {

using Json = nlohmann::ordered_json;

constexpr char kJsonType[] = "application/json";

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

// RFC 3339, in UTC.
std::string TimeIn(std::chrono::seconds time) {
  const std::time_t then = std::time(nullptr) + time.count();
  std::tm parts = {};
  gmtime_r(&then, &parts);
  char text[40];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

std::string TagOf(std::string_view text) {
  char tag[40];
  std::snprintf(tag, sizeof tag, "\"%08x-%zx\"", Crc32(text), text.size());
  return tag;
}

std::string PathOf(const std::string& id) {
  return "/v1/photos/" + id;
}

std::string Member(const char* name, const Json& value) {
  return Json(name).dump() + ":" + value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// What the client sent, its options for the query of links kept.
ChildRequest RequestOf(std::string command, Request* request, std::string id) {
  ChildRequest asked;
  asked.command = std::move(command);
  asked.options = request->options;
  asked.photo = photo::Bytes(request->photo.begin(), request->photo.end());
  asked.mask = photo::Bytes(request->mask.begin(), request->mask.end());
  asked.keptId = std::move(id);
  for (const Bytes& photo : request->morePhotos) asked.morePhotos.emplace_back(photo.begin(), photo.end());
  asked.copies = std::move(request->copies);
  asked.abandoned = std::move(request->abandoned);
  request->photo = request->mask = Bytes();
  request->morePhotos.clear();
  return asked;
}

// Where the same can be asked for again, with the photograph, and what else belongs to it.
Json LinksOfCommand(const Request& request) {
  Json links = {{"picture", request.route.path + QueryOf(request.options)}};
  for (const auto& [name, value] : request.options) {
    if (name == "preset") links["document"] = "/v1/presets/" + value;
  }
  return links;
}

Json LinksOfResult(const Request& request) {
  const std::string photo = PathOf(request.route.name), query = QueryOf(request.options);
  return {{"picture", photo + "/result" + query}, {"check", photo + "/check" + query}, {"photo", photo}};
}

Response WithLinks(const ChildReply& answer, const Json& links) {
  return TextResponse(200, kJsonType, WithMembers(answer.report, "", Member("links", links)));
}

// Of the interface; the same for every service.
const std::string& Description() {
  static const auto* const text = new std::string(OpenApi(StatusOf));
  return *text;
}

// No photograph is in it: it is answered here, and a client may keep it as long as its tag is the same. It is not
// compressed: a proxy that speaks to the outside does so, and on the own computer the time would be lost.
Response Tagged(const std::string& text, const std::string& ifNoneMatch) {
  const std::string tag = TagOf(text);
  const bool isKnown = HasTag(ifNoneMatch, tag);
  Response response = isKnown ? Response() : TextResponse(200, kJsonType, text);
  if (isKnown) response.status = 304;
  response.headers.emplace_back("ETag", tag);
  response.headers.emplace_back("Cache-Control", "no-cache");
  return response;
}

}  // namespace

Service::Service(const ChildrenSettings& settings)
    : keptTime_(settings.limits.keptSeconds),
      presets_(orders::PresetsJson(orders::PresetsOrder().Found())),
      children_(settings) {
  Description();
}

void Service::Handle(Request request, std::function<void(Response)> reply) {
  switch (request.route.place) {
    case Place::kPresets: return reply(Presets(request));
    case Place::kOpenApi: return reply(Tagged(Description(), request.ifNoneMatch));
    case Place::kCommand: return Command(std::move(request), std::move(reply));
    case Place::kPhotos: return Keep(std::move(request), std::move(reply));
    case Place::kPhoto: return Drop(std::move(request), std::move(reply));
    case Place::kResult:
    case Place::kPreview:
    case Place::kCheck: return WorkOnKept(std::move(request), std::move(reply));
    default: throw Problem(404, "not_found", "there is no such path");
  }
}

Response Service::Presets(const Request& request) const {
  const std::string& name = request.route.name;
  const bool isWhole = name.empty() && request.options.empty();
  std::string some;
  if (!isWhole) {
    Pairs options = request.options;
    if (!name.empty()) options.emplace_back("name", name);
    try {
      const auto order = orders::ParseOrder("presets", options);
      const auto& presets = dynamic_cast<const orders::PresetsOrder&>(*order);
      some = presets.name.empty() ? orders::PresetsJson(presets.Found())
                                  : orders::PresetJson(photo::FindPreset(presets.name));
    } catch (const photo::Failure& failure) {
      if (name.empty() || failure.Code() != photo::FailureCode::kUnknownPreset) throw;
      throw Problem(404, NameOf(failure.Code()), failure.what(), failure.Fields());
    }
  }
  return Tagged(isWhole ? presets_ : some, request.ifNoneMatch);
}

void Service::Command(Request request, Reply reply) {
  const std::string command = request.route.name;
  ChildRequest asked = RequestOf(command, &request, "");
  if (request.wanted.format != "tiff" || command == "sheet") asked.wishedFormat = request.wanted.format;
  // These two are reports, to the letter the command's; the others report on a picture.
  const bool isReport = command == "check" || command == "inspect";
  const bool isLinked = request.wanted.json && !isReport;
  Ask(
      std::move(asked),
      [request, isLinked](const ChildReply& answer) {
        return isLinked ? WithLinks(answer, LinksOfCommand(request)) : AnswerOf(answer, request.wanted);
      },
      std::move(reply));
}

void Service::Keep(Request request, Reply reply) {
  const std::string id = NewId();
  Ask(
      RequestOf(kKeep, &request, id),
      [id, time = keptTime_](const ChildReply& answer) {
        const std::string photo = PathOf(id);
        const Json links = {{"self", photo},
                            {"result", photo + "/result"},
                            {"preview", photo + "/preview"},
                            {"check", photo + "/check"}};
        const std::string after = Member("expires", TimeIn(time)) + "," + Member("links", links);
        Response response = TextResponse(201, kJsonType, WithMembers(answer.report, Member("id", id), after));
        response.headers.emplace_back("Location", photo);
        return response;
      },
      std::move(reply));
}

void Service::Drop(Request request, Reply reply) {
  const std::string id = request.route.name;
  Ask(
      RequestOf(kDrop, &request, id),
      [](const ChildReply&) {
        Response response;
        response.status = 204;
        return response;
      },
      std::move(reply));
}

void Service::WorkOnKept(Request request, Reply reply) {
  const Place place = request.route.place;
  Wanted wanted = request.wanted;
  const bool isLinked = place == Place::kResult && wanted.json;
  // A check is a report unless its drawing is asked for, a preview never one.
  wanted.json = place == Place::kResult ? wanted.json : place == Place::kCheck && !wanted.picture;
  const char* const command = place == Place::kPreview  ? kPreview
                              : place == Place::kResult ? kRender
                              : wanted.json             ? kMeasure
                                                        : kDraw;
  ChildRequest asked = RequestOf(command, &request, request.route.name);
  if (place == Place::kResult && wanted.format != "tiff") asked.wishedFormat = wanted.format;
  Ask(
      std::move(asked),
      [request, wanted, isLinked](const ChildReply& answer) {
        return isLinked ? WithLinks(answer, LinksOfResult(request)) : AnswerOf(answer, wanted);
      },
      std::move(reply));
}

void Service::Ask(ChildRequest asked, Shape shape, Reply reply) {
  children_.Run(std::move(asked), [this, shape = std::move(shape), reply = std::move(reply)](ChildReply answer) {
    stages_.Add(answer.seconds);
    try {
      reply(answer.kind == ChildReply::Kind::kAnswer ? shape(answer) : FailureAnswer(answer));
    } catch (const std::exception& exception) {
      reply(ProblemResponse(exception));
    }
  });
}

std::string Service::Version() const {
  return orders::ProgramVersion();
}

std::string Service::Metrics() const {
  const ChildrenState state = children_.State();
  const auto line = [](const char* name, const char* kind, const char* help, uint64_t value) {
    return std::string("# HELP ") + name + " " + help + "\n# TYPE " + name + " " + kind + "\n" + name + " " +
           std::to_string(value) + "\n";
  };
  uint64_t memory = 0;
  for (const pid_t process : state.processes) memory += ResidentBytes(process);
  return "# HELP idphoto_build_info Always 1; the version is in its label.\n# TYPE idphoto_build_info gauge\n"
         "idphoto_build_info{version=\"" +
         Version() + "\"} 1\n" +
         line("idphoto_children_ready", "gauge", "Processes that work on photographs or could.", state.ready) +
         line("idphoto_children_busy", "gauge", "Of these, those that do.", state.busy) +
         line("idphoto_requests_waiting", "gauge", "Requests that wait for such a process.", state.waiting) +
         line("idphoto_photographs_kept", "gauge", "Photographs kept for variations.", state.keptPhotos) +
         line("idphoto_children_started_total", "counter", "Processes started.", state.started) +
         line("idphoto_children_died_total", "counter", "Processes that a photograph or a limit ended.", state.died) +
         line("idphoto_children_resident_bytes", "gauge", "Memory of these processes, shared pages in each.", memory) +
         line("process_resident_memory_bytes", "gauge", "Memory of the server itself.", ResidentBytes(getpid())) +
         stages_.Text();
}

}  // namespace qx::server
