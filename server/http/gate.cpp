#include "server/http/gate.h"

#include <algorithm>
#include <cstdlib>

#include "server/http/multipart.h"
#include "server/http/problem.h"
#include "server/http/query.h"

namespace qx::server {
namespace {

bool HasHeader(const Pairs& headers, std::string_view name) {
  return std::any_of(headers.begin(), headers.end(),
                     [name](const auto& header) { return SameWord(header.first, name); });
}

struct MediaRange {
  std::string type;  // "image/*"
  double weight;     // 0 to 1
};

// RFC 9110, section 12.4.2.
std::vector<MediaRange> RangesOf(std::string_view accept) {
  std::vector<MediaRange> ranges;
  while (!accept.empty()) {
    const size_t end = std::min(accept.find(','), accept.size());
    std::string entry(accept.substr(0, end));
    accept.remove_prefix(std::min(end + 1, accept.size()));
    const auto isSpace = [](char c) { return c == ' ' || c == '\t'; };
    entry.erase(std::remove_if(entry.begin(), entry.end(), isSpace), entry.end());
    const size_t q = std::min(entry.find(";q="), entry.find(";Q="));
    const double weight = q == std::string::npos ? 1 : std::strtod(entry.c_str() + q + 3, nullptr);
    // What is no number is no wish.
    ranges.push_back({entry.substr(0, entry.find(';')), weight > 0 ? std::min(weight, 1.0) : 0});
  }
  return ranges;
}

// The most that is given to this type, or to one of this kind: "image/".
double Named(const std::vector<MediaRange>& ranges, std::string_view type) {
  double most = 0;
  for (const MediaRange& range : ranges) {
    const std::string_view name = range.type;
    const bool isNamed = type.back() == '/' ? name.size() > type.size() && SameWord(name.substr(0, type.size()), type)
                                            : SameWord(name, type);
    if (isNamed) most = std::max(most, range.weight);
  }
  return most;
}

// The weight of the range that tells most of the type.
double WeightOf(const std::vector<MediaRange>& ranges, std::string_view type) {
  for (const std::string_view name : {type, std::string_view("image/*"), std::string_view("*/*")}) {
    for (const MediaRange& range : ranges) {
      if (SameWord(range.type, name)) return range.weight;
    }
  }
  return 0;
}

std::string FormatOf(const std::vector<MediaRange>& ranges) {
  const double png = WeightOf(ranges, "image/png"), jpeg = WeightOf(ranges, "image/jpeg"),
               tiff = WeightOf(ranges, "image/tiff");
  if (png > std::max(jpeg, tiff)) return "png";
  if (jpeg > std::max(png, tiff)) return "jpg";
  return tiff > std::max(png, jpeg) ? "tiff" : "";
}

}  // namespace

Wanted WantedBy(std::string_view accept) {
  const std::vector<MediaRange> ranges = RangesOf(accept);
  const double json = Named(ranges, "application/json"), picture = Named(ranges, "image/"),
               zip = Named(ranges, "application/zip");
  return {json > 0 && json > picture, picture > 0 && picture >= json, zip > 0 && zip > std::max(json, picture),
          FormatOf(ranges)};
}

std::string_view Head::Only(std::string_view name) const {
  const std::string* value = nullptr;
  for (const auto& [known, text] : headers) {
    if (!SameWord(known, name)) continue;
    if (value) throw Problem(400, "bad_request", "the header " + std::string(name) + " comes twice");
    value = &text;
  }
  return value ? std::string_view(*value) : std::string_view();
}

void Gate::NoteOrigin(const Head& head, Visit* visit) const {
  const std::string origin = OriginOf(head.Only("Origin"));
  if (std::find(origins_.begin(), origins_.end(), origin) == origins_.end()) return;
  visit->origin = origin;
  visit->asksForPrivate = head.Only("Access-Control-Request-Private-Network") == "true";
}

void Gate::CheckSender(const Head& head, const std::string& targetAuthority, const Visit& visit) const {
  const Route& route = visit.request.route;
  const std::string host(head.Only("Host"));
  if (head.version >= 11 && !HasHeader(head.headers, "Host")) throw Problem(400, "bad_request", "there is no Host");
  const std::string& authority = targetAuthority.empty() ? host : targetAuthority;
  if (!hosts_.Takes(authority)) {
    throw Problem(421, "wrong_host", "this server does not go by that name; ask for it by its address");
  }
  const bool changes = head.method != "GET" && head.method != "HEAD" && head.method != "OPTIONS";
  if (changes && visit.origin.empty() && !IsOwnOrigin(head.Only("Origin"), authority)) {
    throw Problem(403, "wrong_origin", "pages of other sites may not send anything here");
  }
  if (token_ && !IsOpen(route) && head.method != "OPTIONS" && !token_->Matches(head.Only("Authorization"))) {
    throw Problem(401, "unauthorized", "a token is needed: Authorization: Bearer TOKEN", {},
                  {{"WWW-Authenticate", "Bearer"}});
  }
}

void Gate::CheckBody(const Head& head, const Route& route, Visit* visit) const {
  const std::string_view coding = head.Only("Transfer-Encoding");
  if (!coding.empty() && !SameWord(coding, "chunked")) {
    throw Problem(501, "unsupported_encoding", "of transfer encodings there is only chunked");
  }
  // The same length twice is one length to some, and two bodies to others.
  if (head.Only("Content-Length").find(',') != std::string_view::npos) {
    throw Problem(400, "bad_request", "there is more than one length");
  }
  const bool body = head.chunked || head.length.value_or(0) > 0;
  if (!TakesBody(route, head.method)) {
    if (body) throw Problem(413, "no_body_wanted", "this request takes no body");
    return;
  }
  // Whoever packs a picture chooses how large it unpacks, so nothing is unpacked here.
  const std::string_view packed = head.Only("Content-Encoding");
  if (!packed.empty() && !SameWord(packed, "identity")) {
    throw Problem(415, "unsupported_encoding", "photographs come as they are, in no encoding", {},
                  {{"Accept-Encoding", "identity"}});
  }
  visit->boundary = BoundaryOf(head.Only("Content-Type"));
  if (head.length.value_or(0) > limits_.bodyBytes) {
    throw Problem(413, "too_large", "the upload is larger than this server takes",
                  {{"limit", static_cast<double>(limits_.bodyBytes)}, {"got", static_cast<double>(*head.length)}});
  }
  if (!body) throw Problem(400, "no_photo", "there is no photograph in the request");
  const std::string_view expect = head.Only("Expect");
  if (!expect.empty() && !SameWord(expect, "100-continue")) {
    throw Problem(417, "unsupported_expectation", "of expectations there is only 100-continue");
  }
  visit->hasBody = true;
  visit->wantsContinue = !expect.empty() && head.version >= 11;
}

const File* Gate::FindFile(const std::string& path) const {
  const auto found =
      std::find_if(files_.begin(), files_.end(), [&path](const File& file) { return file.path == path; });
  return found == files_.end() ? nullptr : &*found;
}

void Gate::Admit(const Head& head, Visit* visit) const {
  Request& request = visit->request;
  visit->headOnly = head.method == "HEAD";
  Target target = ParseTarget(head.target, limits_);
  if (target.everything && head.method != "OPTIONS") throw Problem(400, "bad_target", "\"*\" is for OPTIONS alone");
  request.route = FindRoute(target.segments);
  NoteOrigin(head, visit);
  CheckSender(head, target.authority, *visit);
  const bool missing =
      request.route.place == Place::kNone || (request.route.place == Place::kFile && !FindFile(request.route.path));
  if (missing && !target.everything) {
    request.route.place = Place::kNone;
    throw Problem(404, "not_found", "there is nothing of that name");
  }
  if (!Allows(request.route, head.method)) {
    throw Problem(405, "method_not_allowed", "that is not possible here", {},
                  {{"Allow", std::string(AllowedMethods(request.route))}});
  }
  request.method = visit->headOnly ? "GET" : head.method;
  CheckBody(head, request.route, visit);
  visit->takesSlot = TakesSlot(request.route, head.method);
  visit->ifNoneMatch = head.Only("If-None-Match");
  visit->acceptsGzip = Named(RangesOf(head.Only("Accept-Encoding")), "gzip") > 0;
  request.options = std::move(target.query);
  request.contentType = head.Only("Content-Type");
  request.wanted = WantedBy(head.Only("Accept"));
  request.wantsJson = request.wanted.json;
  request.ifNoneMatch = visit->ifNoneMatch;
}

void Gate::TakeBody(Bytes body, Visit* visit) const {
  // The adapter reads its forms itself.
  if (visit->boundary.empty() || visit->request.route.place == Place::kForm) {
    visit->request.photo = std::move(body);
  } else {
    TakeForm(std::move(body), visit->boundary, limits_, &visit->request);
  }
  // A chunked body says only at its end that there was nothing.
  if (visit->request.photo.empty()) throw Problem(400, "no_photo", "there is no photograph in the request");
}

std::optional<Response> Gate::Answer(const Visit& visit) const {
  const Request& request = visit.request;
  if (request.method == "OPTIONS") {
    Response response;
    response.status = 204;
    response.headers = {{"Allow", std::string(AllowedMethods(request.route))}};
    return response;
  }
  if (request.route.place != Place::kFile) return std::nullopt;
  return FileResponse(*FindFile(request.route.path), visit.ifNoneMatch);
}

void Gate::AddOriginHeaders(const Visit& visit, Response* response) const {
  if (origins_.empty()) return;
  Pairs& headers = response->headers;
  // Also for those that may not: what lies between must not hand them others' answers.
  headers.emplace_back("Vary", "Origin");
  if (visit.origin.empty()) return;
  headers.emplace_back("Access-Control-Allow-Origin", visit.origin);
  if (visit.request.method != "OPTIONS") {
    headers.emplace_back("Access-Control-Expose-Headers", "ETag, Location, Retry-After");
    return;
  }
  headers.insert(headers.end(), {{"Access-Control-Allow-Methods", std::string(AllowedMethods(visit.request.route))},
                                 {"Access-Control-Allow-Headers", "Accept, Authorization, Content-Type, If-None-Match"},
                                 {"Access-Control-Max-Age", "600"}});
  if (visit.asksForPrivate) headers.emplace_back("Access-Control-Allow-Private-Network", "true");
}

void AddStandardHeaders(Response* response) {
  Pairs& headers = response->headers;
  const auto broken = [](const auto& header) {
    const auto control = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; };
    return std::any_of(header.first.begin(), header.first.end(), control) ||
           std::any_of(header.second.begin(), header.second.end(), control);
  };
  headers.erase(std::remove_if(headers.begin(), headers.end(), broken), headers.end());
  if (!HasHeader(headers, "Cache-Control")) headers.emplace_back("Cache-Control", "no-store");
  if (!HasHeader(headers, "Content-Security-Policy")) {
    headers.emplace_back("Content-Security-Policy",
                         "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; "
                         "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
  }
  headers.insert(headers.end(), {{"Cross-Origin-Opener-Policy", "same-origin"},
                                 {"Cross-Origin-Resource-Policy", "same-origin"},
                                 {"Referrer-Policy", "no-referrer"},
                                 {"X-Content-Type-Options", "nosniff"},
                                 {"X-Frame-Options", "DENY"}});
}

}  // namespace qx::server
