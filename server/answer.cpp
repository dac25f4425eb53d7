#include "server/answer.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <vector>

#include "photo/base/failure.h"
#include "server/http/problem.h"
#include "server/zip.h"

namespace qx::server {
namespace {

using photo::FailureCode;

constexpr std::chrono::seconds kSoon{2};
constexpr char kNotPossible[] = "not_possible";

// 0 for a code that there is not.
unsigned StatusOfName(const std::string& code, const photo::FailureFields& fields) {
  if (code == kNotKept) return 404;
  for (int i = 0; i <= static_cast<int>(FailureCode::kEngine); ++i) {
    const auto known = static_cast<FailureCode>(i);
    if (code == NameOf(known)) return StatusOf(known, fields);
  }
  return 0;
}

Problem WorkFailed() {
  return {422, kNotPossible, "the photograph could not be worked on"};
}

std::string_view TextOf(const photo::Bytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// What a page of ours may be shown: nothing that a browser would run.
bool IsPicture(const ChildPicture& picture) {
  constexpr std::array<std::string_view, 3> kTypes = {"image/jpeg", "image/png", "image/tiff"};
  return std::find(kTypes.begin(), kTypes.end(), picture.type) != kTypes.end();
}

void NameFile(const char* disposition, const std::string& name, Response* response) {
  const bool isPlain = std::all_of(name.begin(), name.end(), [](char c) { return c >= ' ' && c <= '~' && c != '"'; });
  if (isPlain) {
    response->headers.emplace_back("Content-Disposition", disposition + ("; filename=\"" + name) + "\"");
  }
}

Response Archive(const std::vector<ChildPicture>& pictures) {
  std::vector<ZipFile> files;
  for (const ChildPicture& picture : pictures) files.push_back({picture.name, TextOf(picture.bytes)});
  Response response;
  response.headers = {{"Content-Type", "application/zip"}};
  NameFile("attachment", "photo.zip", &response);
  response.body = ZipOf(files);
  return response;
}

}  // namespace

Response AnswerOf(const ChildReply& reply, const Wanted& wanted) {
  const std::vector<ChildPicture>& pictures = reply.pictures;
  if (!std::all_of(pictures.begin(), pictures.end(), IsPicture)) return ProblemResponse(WorkFailed());
  if (wanted.json || pictures.empty()) return TextResponse(200, "application/json", reply.report);
  if (pictures.size() > 1 || wanted.zip) return Archive(pictures);
  Response response;
  response.headers = {{"Content-Type", pictures[0].type}};
  NameFile("inline", pictures[0].name, &response);
  response.body = Bytes(pictures[0].bytes.begin(), pictures[0].bytes.end());
  return response;
}

Response FailureAnswer(const ChildReply& reply) {
  switch (reply.kind) {
    case ChildReply::Kind::kAnswer: break;
    case ChildReply::Kind::kFailure: {
      const unsigned status = StatusOfName(reply.code, reply.fields);
      // The child was ready for work: what fails in it inside fails by what it was given.
      if (status == 0 || status == 500) break;
      return ProblemResponse(Problem(status, reply.code, reply.text, reply.fields));
    }
    // A file that costs a child its life is refused; the server goes on.
    case ChildReply::Kind::kDied: break;
    case ChildReply::Kind::kTimedOut:
      return ProblemResponse(Problem(422, kNotPossible, "the photograph took too long to be worked on"));
    case ChildReply::Kind::kKilled: return BusyResponse(kSoon, "the work on the photograph was ended; send it again");
    case ChildReply::Kind::kBusy:
    case ChildReply::Kind::kCancelled: return BusyResponse(kSoon, "too many photographs at once; try again later");
  }
  return ProblemResponse(WorkFailed());
}

std::string WithMembers(std::string_view object, std::string_view before, std::string_view after) {
  if (object.size() < 2 || object.front() != '{' || object.back() != '}') throw WorkFailed();
  const std::string_view own = object.substr(1, object.size() - 2);
  std::string text = "{";
  for (const std::string_view members : {before, own, after}) {
    if (members.empty()) continue;
    if (text.size() > 1) text += ',';
    text += members;
  }
  return text + '}';
}

std::string QueryOf(const Pairs& options) {
  // RFC 3986, section 2.3.
  const auto encode = [](const std::string& text) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string encoded;
    for (const char c : text) {
      const auto byte = static_cast<unsigned char>(c);
      const bool isPlain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' ||
                           c == '.' || c == '_' || c == '~';
      encoded += isPlain ? std::string(1, c) : std::string{'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return encoded;
  };
  std::string query;
  for (const auto& [name, value] : options) {
    query += (query.empty() ? "?" : "&") + encode(name) + "=" + encode(value);
  }
  return query;
}

}  // namespace qx::server
