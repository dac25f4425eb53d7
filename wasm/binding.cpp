// What the browser calls: the work of one process of the photograph server, behind four C functions. Files go in one by
// one, then a request about them, and its reply comes back as bytes.
//
// A request is JSON: {"command", "options": [[name, value], ...], "files": [kind of each file that was put in, in turn:
// "photo" (for a sheet, several), "mask"], "copies": [...], "kept": id, "format": "png"}; all but the command may be
// missing. See server/children/photo_worker.h for what there is, and "options", which lists the options of the command
// named in "of".
//
// A reply is the length of its JSON (32 bits, little-endian), the JSON, and one picture after the other. The JSON is
// {"report": an object or null, "pictures": [{"name", "type", "size"}], "seconds": {...}} or, of what failed,
// {"failure": {"code", "text", "fields": [{"name", "value"}]}}.
#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <new>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "orders/describe.h"
#include "photo/base/failure.h"
#include "photo/base/image.h"
#include "server/children/message.h"
#include "server/children/photo_worker.h"

namespace qx {
namespace {

using Json = nlohmann::ordered_json;

struct Session {
  std::unique_ptr<server::ChildWorker> worker;
  std::vector<photo::Bytes> files;  // put in, for the next request
  photo::Bytes reply;
};

Session& TheSession() {
  static auto* const session = new Session;
  return *session;
}

server::ChildLimits Limits() {
  server::ChildLimits limits;
  limits.pixels = 50'000'000;  // 32-bit addresses hold two such photographs, and what is made of them
  limits.keptBytes = uint64_t{1200} << 20;
  limits.keptSeconds = uint64_t{1} << 30;  // as long as the visitor's page is open
  return limits;
}

Json ToJson(const photo::FailureFields& fields) {
  Json list = Json::array();
  for (const photo::FailureField& field : fields) {
    list.push_back({{"name", field.name}, {"value", field.word.empty() ? Json(field.number) : Json(field.word)}});
  }
  return list;
}

const char* NameOf(orders::OptionFacts::Kind kind) {
  switch (kind) {
    case orders::OptionFacts::Kind::kFlag: return "flag";
    case orders::OptionFacts::Kind::kWhole: return "whole";
    case orders::OptionFacts::Kind::kNumber: return "number";
    default: return "text";
  }
}

Json ToJson(const std::vector<orders::OptionFacts>& options) {
  Json list = Json::array();
  for (const orders::OptionFacts& facts : options) {
    Json option = {{"name", facts.name}, {"kind", NameOf(facts.kind)}, {"help", facts.help}};
    if (facts.min) option["min"] = *facts.min;
    if (facts.max) option["max"] = *facts.max;
    if (!facts.words.empty()) option["words"] = facts.words;
    option["required"] = facts.required;
    option["repeatable"] = facts.repeatable;
    list.push_back(std::move(option));
  }
  return list;
}

server::ChildRequest RequestOf(const Json& json, std::vector<photo::Bytes> files) {
  server::ChildRequest request;
  request.command = json.at("command").get<std::string>();
  request.options = json.value("options", server::ChildRequest().options);
  request.keptId = json.value("kept", "");
  request.wishedFormat = json.value("format", "");
  request.copies = json.value("copies", request.copies);
  const auto kinds = json.value("files", std::vector<std::string>());
  if (kinds.size() != files.size()) throw std::invalid_argument("other files than the request names");
  for (size_t i = 0; i < files.size(); ++i) {
    if (kinds[i] == "mask") {
      request.mask = std::move(files[i]);
    } else if (request.photo.empty()) {
      request.photo = std::move(files[i]);
    } else {
      request.morePhotos.push_back(std::move(files[i]));
    }
  }
  return request;
}

Json JsonOf(const server::ChildReply& reply) {
  if (reply.kind != server::ChildReply::Kind::kAnswer) {
    return {{"failure", {{"code", reply.code}, {"text", reply.text}, {"fields", ToJson(reply.fields)}}}};
  }
  Json pictures = Json::array();
  for (const server::ChildPicture& picture : reply.pictures) {
    pictures.push_back({{"name", picture.name}, {"type", picture.type}, {"size", picture.bytes.size()}});
  }
  constexpr std::array<const char*, server::kStages> kNames = {"waiting",  "analysis", "rendering",
                                                               "encoding", "checking", "other"};
  Json seconds = Json::object();
  for (size_t i = 0; i < kNames.size(); ++i) seconds[kNames[i]] = reply.seconds[i];
  return {{"report", reply.report.empty() ? Json() : Json::parse(reply.report)},
          {"pictures", std::move(pictures)},
          {"seconds", std::move(seconds)}};
}

photo::Bytes Packed(const std::string& json, const std::vector<server::ChildPicture>& pictures) {
  photo::Bytes packed;
  for (int shift = 0; shift < 32; shift += 8) packed.push_back(static_cast<uint8_t>(json.size() >> shift));
  packed.insert(packed.end(), json.begin(), json.end());
  for (const server::ChildPicture& picture : pictures) {
    packed.insert(packed.end(), picture.bytes.begin(), picture.bytes.end());
  }
  return packed;
}

photo::Bytes Answer(Session& session, const std::string& text) try {
  const Json json = Json::parse(text);
  std::vector<photo::Bytes> files = std::move(session.files);
  session.files.clear();
  if (json.at("command") == "options") {
    return Packed(
        Json{{"report", ToJson(orders::DescribeOptions(json.at("of").get<std::string>()))}, {"pictures", Json::array()}}
            .dump(),
        {});
  }
  if (!session.worker) session.worker = server::MakePhotoWorker(Limits());
  const server::ChildReply reply = session.worker->Answer(RequestOf(json, std::move(files)));
  return Packed(JsonOf(reply).dump(-1, ' ', false, Json::error_handler_t::replace), reply.pictures);
} catch (const std::exception& exception) {
  session.files.clear();
  return Packed(JsonOf(server::FailureReply(exception)).dump(-1, ' ', false, Json::error_handler_t::replace), {});
}

}  // namespace
}  // namespace qx

#define QX_CALLED_FROM_OUTSIDE extern "C" __attribute__((used, visibility("default")))

// Room for one more file of the next request, to be filled before any other call; null when memory is short.
QX_CALLED_FROM_OUTSIDE uint8_t* qx_put(size_t size) {
  std::vector<qx::photo::Bytes>& files = qx::TheSession().files;
  try {
    files.emplace_back(size);
    return files.back().data();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

// Forgets the files that were put in.
QX_CALLED_FROM_OUTSIDE void qx_clear() {
  qx::TheSession().files.clear();
}

// The last file that was put in is the request; gives its reply, which stays until the next call.
QX_CALLED_FROM_OUTSIDE const uint8_t* qx_ask() {
  qx::Session& session = qx::TheSession();
  session.reply = {};
  std::string request;
  if (!session.files.empty()) {
    request.assign(session.files.back().begin(), session.files.back().end());
    session.files.pop_back();
  }
  session.reply = qx::Answer(session, request);
  return session.reply.data();
}

// Bytes of the reply.
QX_CALLED_FROM_OUTSIDE size_t qx_reply_size() {
  return qx::TheSession().reply.size();
}
