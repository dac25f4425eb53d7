#include "server/http/problem.h"

#include <algorithm>
#include <new>
#include <nlohmann/json.hpp>

#include "photo/base/text.h"

namespace qx::server {
namespace {

using Json = nlohmann::ordered_json;
using photo::FailureCode;

// Words may quote what the client sent, in any bytes.
Json ToJson(const photo::FailureFields& fields) {
  Json list = Json::array();
  for (const photo::FailureField& field : fields) {
    Json entry = {{"name", field.name}};
    if (field.word.empty()) {
      entry["value"] = field.number;
    } else {
      entry["value"] = photo::Printable(field.word);
    }
    list.push_back(std::move(entry));
  }
  return list;
}

}  // namespace

Response TextResponse(unsigned status, std::string_view type, std::string_view text) {
  Response response;
  response.status = status;
  response.headers = {{"Content-Type", std::string(type)}};
  response.body.assign(text.begin(), text.end());
  return response;
}

unsigned StatusOf(FailureCode code, const photo::FailureFields& fields) {
  switch (code) {
    case FailureCode::kBadOption:
    case FailureCode::kUnknownPreset: return 400;
    case FailureCode::kTooLarge: return 413;
    case FailureCode::kNotAPicture: return 415;
    case FailureCode::kNoFace:
    case FailureCode::kTooFewFaces:
    case FailureCode::kNoSuchFace:
    case FailureCode::kFacesTurned:
    case FailureCode::kNoPerson:
    case FailureCode::kBadMask:
    case FailureCode::kTooSmall:
    case FailureCode::kNoFit:
    case FailureCode::kUnsuitable:
    case FailureCode::kForbiddenEdit:
    case FailureCode::kSheetFull:
    case FailureCode::kFileSize:
    case FailureCode::kDamagedFile: return 422;
    case FailureCode::kOutOfMemory: {
      // What is too large by itself is so again later.
      const bool always = std::any_of(fields.begin(), fields.end(), [](const auto& f) { return f.name == "what"; });
      return always ? 422 : 503;
    }
    case FailureCode::kNoFile:
    case FailureCode::kCannotRead:
    case FailureCode::kCannotWrite:
    case FailureCode::kEngine: return 500;
  }
  return 500;
}

const char* ReasonPhrase(unsigned status) {
  switch (status) {
    case 200: return "OK";
    case 201: return "Created";
    case 204: return "No Content";
    case 304: return "Not Modified";
    case 400: return "Bad Request";
    case 401: return "Unauthorized";
    case 403: return "Forbidden";
    case 404: return "Not Found";
    case 405: return "Method Not Allowed";
    case 408: return "Request Timeout";
    case 413: return "Content Too Large";
    case 415: return "Unsupported Media Type";
    case 417: return "Expectation Failed";
    case 421: return "Misdirected Request";
    case 422: return "Unprocessable Content";
    case 431: return "Request Header Fields Too Large";
    case 500: return "Internal Server Error";
    case 501: return "Not Implemented";
    case 503: return "Service Unavailable";
    default: return "";
  }
}

Response ProblemResponse(const Problem& problem) {
  const Json json = {{"type", "about:blank"},    {"title", ReasonPhrase(problem.status)},
                     {"status", problem.status}, {"detail", photo::Printable(problem.what())},
                     {"code", problem.code},     {"fields", ToJson(problem.fields)}};
  Response response = TextResponse(problem.status, "application/problem+json", json.dump() + "\n");
  response.headers.insert(response.headers.end(), problem.headers.begin(), problem.headers.end());
  if (problem.status == 503 && problem.headers.empty()) response.headers.emplace_back("Retry-After", "10");
  return response;
}

Response ProblemResponse(const std::exception& exception) {
  if (const auto* problem = dynamic_cast<const Problem*>(&exception)) return ProblemResponse(*problem);
  if (const auto* failure = dynamic_cast<const photo::Failure*>(&exception)) {
    return ProblemResponse(Problem(StatusOf(failure->Code(), failure->Fields()), NameOf(failure->Code()),
                                   failure->what(), failure->Fields()));
  }
  if (dynamic_cast<const std::bad_alloc*>(&exception)) {
    return ProblemResponse(Problem(503, NameOf(FailureCode::kOutOfMemory), "memory is short; try again later"));
  }
  return ProblemResponse(Problem(500, "internal", "something went wrong inside the server; its log says more"));
}

Response BusyResponse(std::chrono::seconds retryAfter, const std::string& text) {
  return ProblemResponse(Problem(503, "busy", text, {}, {{"Retry-After", std::to_string(retryAfter.count())}}));
}

}  // namespace qx::server
