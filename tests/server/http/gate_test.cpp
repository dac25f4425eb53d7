// What is decided from a request's head.
#include <gtest/gtest.h>

#include <boost/beast/zlib/inflate_stream.hpp>
#include <nlohmann/json.hpp>
#include <string>

#include "server/http/gate.h"
#include "server/http/problem.h"
#include "server/http/query.h"

namespace {

using namespace qx::server;  // NOLINT: all of it

const Limits kLimits;
const std::string kToken = "0123456789abcdef";

Gate MakeGate(bool token = false) {
  const std::vector<File> files = {{"/", "text/html", "\"abc\"", "page", false},
                                   {"/m-1.js", "text/javascript", "\"d\"", "js", true}};
  return {HostList("127.0.0.1", true, {"studio.example:80"}), token ? std::optional<Token>(kToken) : std::nullopt,
          files, kLimits};
}

Head MakeHead(const std::string& method, const std::string& target, const Pairs& more = {}) {
  Head head;
  head.method = method;
  head.target = target;
  head.headers = {{"Host", "localhost:8080"}};
  if (method == "POST") head.length = 5;
  head.headers.insert(head.headers.end(), more.begin(), more.end());
  return head;
}

Visit Admit(const Gate& gate, const Head& head) {
  Visit visit;
  gate.Admit(head, &visit);
  return visit;
}

// 0 for a request that is let in.
unsigned Status(const Gate& gate, const Head& head) {
  try {
    Admit(gate, head);
    return 0;
  } catch (const Problem& problem) {
    return problem.status;
  }
}

TEST(Gate, EveryPlaceHasItsMethods) {
  const Gate gate = MakeGate();
  const std::string id = "/v1/photos/q8Zr", presets = "/v1/presets";
  for (const std::string& get : {std::string("/"), std::string("/healthz"), std::string("/readyz"),
                                 std::string("/metrics"), std::string("/v1/openapi.json"), presets,
                                 presets + "/de-passport", id + "/result?dpi=300", id + "/preview", id + "/check"}) {
    EXPECT_EQ(Status(gate, MakeHead("GET", get)), 0U) << get;
    EXPECT_EQ(Status(gate, MakeHead("HEAD", get)), 0U) << get;
    EXPECT_EQ(Status(gate, MakeHead("OPTIONS", get)), 0U) << get;
    EXPECT_EQ(Status(gate, MakeHead("POST", get)), 405U) << get;
  }
  for (const char* post :
       {"/v1/inspect", "/v1/check", "/v1/make", "/v1/crop", "/v1/retouch", "/v1/sheet", "/v1/mask", "/v1/background",
        "/v1/compress", "/v1/watermark", "/v1/photos", "/idphoto", "/human_matting", "/add_background",
        "/generate_layout_photos", "/watermark", "/set_kb", "/idphoto_crop"}) {
    const Visit visit = Admit(gate, MakeHead("POST", post));
    EXPECT_TRUE(visit.takesSlot && visit.hasBody) << post;
    EXPECT_EQ(LabelOf(visit.request.route), post);
    EXPECT_EQ(Status(gate, MakeHead("GET", post)), 405U) << post;
  }
  EXPECT_EQ(Status(gate, MakeHead("DELETE", id)), 0U);
  EXPECT_EQ(Status(gate, MakeHead("GET", id)), 405U);
  EXPECT_EQ(Admit(gate, MakeHead("GET", id + "/result")).request.route.name, "q8Zr");
  EXPECT_TRUE(Admit(gate, MakeHead("GET", id + "/result")).takesSlot);
  EXPECT_EQ(LabelOf(Admit(gate, MakeHead("GET", id + "/check")).request.route), "/v1/photos/ID/check");
  EXPECT_FALSE(Admit(gate, MakeHead("GET", presets)).takesSlot);
  for (const char* none : {"/v1", "/v1/nothing", "/v1/make/more", "/v1/photos/a/b", "/v1/photos/a/result/x", "/secret",
                           "/v1/presets/a/b", "/index.html"}) {
    EXPECT_EQ(Status(gate, MakeHead("GET", none)), 404U) << none;
  }
  EXPECT_EQ(Status(gate, MakeHead("OPTIONS", "*")), 0U);
  EXPECT_EQ(Status(gate, MakeHead("GET", "*")), 400U);
}

TEST(Gate, AllowIsSaidWhereAMethodIsRefused) {
  try {
    Admit(MakeGate(), MakeHead("PUT", "/v1/photos/a"));
    FAIL();
  } catch (const Problem& problem) {
    const Response response = ProblemResponse(problem);
    EXPECT_EQ(response.status, 405U);
    EXPECT_EQ(response.headers.back(), (std::pair<std::string, std::string>("Allow", "DELETE, OPTIONS")));
  }
}

TEST(Gate, PathsHaveOneWayToBeWritten) {
  const Gate gate = MakeGate();
  for (const std::string bad : {"",
                                "x",
                                "//",
                                "/v1//presets",
                                "/healthz/",
                                "/./healthz",
                                "/v1/../healthz",
                                "/%2e%2e/healthz",
                                "/%2E/a",
                                "/a%2fb",
                                "/a%5cb",
                                "/a%00b",
                                "/a%0d%0ab",
                                "/a%",
                                "/a%4",
                                "/a%zz",
                                "/%ff",
                                "/%c0%ae%c0%ae/x",
                                "http://",
                                "ftp://a/"}) {
    EXPECT_EQ(Status(gate, MakeHead("GET", bad)), 400U) << bad;
  }
  EXPECT_EQ(Status(gate, MakeHead("GET", "/%68ealthz")), 0U);
  EXPECT_EQ(ParseTarget("/v1/presets/%C3%A4", kLimits).segments.back(), "\xC3\xA4");
}

TEST(Gate, QueriesAreDecodedAndBounded) {
  EXPECT_EQ(ParseQuery("a=1&b=two+w%C3%B6rds%2B&&c&a=2%3D=", kLimits),
            (Pairs{{"a", "1"}, {"b", "two w\xC3\xB6rds+"}, {"c", ""}, {"a", "2=="}}));
  std::string many;
  for (size_t i = 0; i <= kLimits.parts; ++i) many += "a=1&";
  for (const std::string& bad : {many, std::string("=1"), std::string("a=%"), std::string("a=%0a"),
                                 std::string("a=%ff"), "a=" + std::string(5000, 'x'), std::string(65, 'n') + "=1"}) {
    EXPECT_THROW(ParseQuery(bad, kLimits), Problem) << bad;
  }
}

TEST(Gate, StrangersAreRefused) {
  const Gate open = MakeGate(), closed = MakeGate(true);
  const auto withHost = [](const std::string& host) {
    Head head = MakeHead("GET", "/healthz");
    head.headers = {{"Host", host}};
    return head;
  };
  for (const char* own : {"localhost", "LOCALHOST:1", "127.0.0.1:8080", "[::1]:8080", "studio.example"}) {
    EXPECT_EQ(Status(open, withHost(own)), 0U) << own;
  }
  for (const char* other : {"evil.example", "localhost.evil.example", "localhost:80:80", "localhost:x", "", "[::1",
                            "127.0.0.2", "localhost@evil.example"}) {
    EXPECT_EQ(Status(open, withHost(other)), 421U) << other;
  }
  Head twice = MakeHead("GET", "/healthz", {{"Host", "localhost"}}), without = MakeHead("GET", "/healthz");
  without.headers.clear();
  EXPECT_EQ(Status(open, twice), 400U);
  EXPECT_EQ(Status(open, without), 400U);
  EXPECT_EQ(Status(open, MakeHead("GET", "http://evil.example/healthz")), 421U);
  EXPECT_EQ(Status(open, MakeHead("GET", "http://localhost:8080/healthz")), 0U);

  const auto from = [](const char* origin, const char* method = "POST", const char* target = "/v1/make") {
    return MakeHead(method, target, {{"Origin", origin}});
  };
  EXPECT_EQ(Status(open, from("http://localhost:8080")), 0U);
  EXPECT_EQ(Status(open, from("https://localhost:8080")), 0U);
  for (const char* other :
       {"http://localhost:3000", "http://evil.example", "null", "http://localhost:8080.evil.example"}) {
    EXPECT_EQ(Status(open, from(other)), 403U) << other;
    EXPECT_EQ(Status(open, from(other, "DELETE", "/v1/photos/a")), 403U) << other;
    EXPECT_EQ(Status(open, from(other, "GET", "/healthz")), 0U) << other;
  }

  EXPECT_EQ(Status(closed, MakeHead("GET", "/v1/presets")), 401U);
  EXPECT_EQ(Status(closed, MakeHead("GET", "/metrics")), 401U);
  EXPECT_EQ(Status(closed, MakeHead("GET", "/healthz")), 0U);
  EXPECT_EQ(Status(closed, MakeHead("GET", "/")), 0U);
  const auto bearing = [](const std::string& words) {
    return MakeHead("GET", "/v1/presets", {{"Authorization", words}});
  };
  EXPECT_EQ(Status(closed, bearing("bearer " + kToken)), 0U);
  for (const std::string& wrong : {"Bearer " + kToken + "0", "Bearer " + kToken.substr(1), std::string("Bearer "),
                                   kToken, "Bearer " + kToken + kToken, "Basic " + kToken, std::string()}) {
    EXPECT_EQ(Status(closed, bearing(wrong)), 401U) << wrong;
  }
}

TEST(Gate, BodiesAreJudgedByTheHead) {
  const Gate gate = MakeGate();
  const auto post = [&gate](const Pairs& headers, std::optional<uint64_t> length = 5, bool chunked = false) {
    Head head = MakeHead("POST", "/v1/make", headers);
    head.length = length;
    head.chunked = chunked;
    return Status(gate, head);
  };
  EXPECT_EQ(post({}), 0U);
  EXPECT_EQ(post({{"Transfer-Encoding", "chunked"}}, std::nullopt, true), 0U);
  EXPECT_EQ(post({}, kLimits.bodyBytes), 0U);
  EXPECT_EQ(post({}, kLimits.bodyBytes + 1), 413U);
  EXPECT_EQ(post({}, 0), 400U);
  EXPECT_EQ(post({}, std::nullopt), 400U);
  EXPECT_EQ(post({{"Content-Length", "5, 5"}}), 400U);
  EXPECT_EQ(post({{"Content-Length", "5"}, {"content-length", "5"}}), 400U);
  EXPECT_EQ(post({{"Content-Encoding", "gzip"}}), 415U);
  EXPECT_EQ(post({{"Transfer-Encoding", "gzip, chunked"}}, std::nullopt, true), 501U);
  EXPECT_EQ(post({{"Transfer-Encoding", "chunked, gzip"}}, std::nullopt), 501U);
  EXPECT_EQ(post({{"Expect", "100-continue"}}), 0U);
  EXPECT_EQ(post({{"Expect", "miracles"}}), 417U);
  EXPECT_EQ(post({{"Content-Type", "multipart/mixed; boundary=a"}}), 415U);
  Head get = MakeHead("GET", "/healthz");
  get.length = 5;
  EXPECT_EQ(Status(gate, get), 413U);
}

TEST(Gate, FilesAreKeptByTheirTags) {
  const Gate gate = MakeGate();
  const auto answer = [&gate](const char* path, const char* tags) {
    return *gate.Answer(Admit(gate, MakeHead("GET", path, {{"If-None-Match", tags}})));
  };
  const auto cached = [](Response response) {
    AddStandardHeaders(&response);
    for (const auto& [name, value] : response.headers) {
      if (name == "Cache-Control") return value;
    }
    return std::string();
  };
  EXPECT_EQ(answer("/", "\"x\"").still, "page");
  EXPECT_EQ(answer("/", "\"ab\", \"abcd\"").status, 200U);
  for (const char* tags : {"\"abc\"", "\"x\", W/\"abc\"", "*"}) {
    EXPECT_EQ(answer("/", tags).status, 304U) << tags;
    EXPECT_EQ(answer("/", tags).Size(), 0U) << tags;
  }
  EXPECT_EQ(cached(answer("/", "")), "no-cache");
  EXPECT_EQ(cached(answer("/m-1.js", "")), "public, max-age=31536000, immutable");
  EXPECT_EQ(cached(TextResponse(200, "image/jpeg", "photograph")), "no-store");
}

std::string Unpacked(const Bytes& packed, size_t size) {
  namespace zlib = boost::beast::zlib;
  constexpr size_t kHead = 10, kTail = 8;
  std::string text(size + 1, '\0');
  zlib::inflate_stream stream;
  zlib::z_params step;
  step.next_in = packed.data() + kHead;
  step.avail_in = packed.size() - kHead - kTail;
  step.next_out = text.data();
  step.avail_out = text.size();
  boost::beast::error_code end;
  stream.write(step, zlib::Flush::finish, end);
  text.resize(text.size() - step.avail_out);
  return text;
}

TEST(Gate, TextTravelsPackedWhereTheClientUnpacks) {
  std::string text;
  for (uint32_t i = 0; text.size() < 20'000; ++i) text += std::to_string(i * 2'654'435'761U % 1000) + ",";
  const auto header = [](const Response& response, std::string_view wanted) {
    for (const auto& [name, value] : response.headers) {
      if (name == wanted) return value;
    }
    return std::string("-");
  };
  const auto packed = [&](const char* type, const char* encodings, std::string_view body) {
    const Visit visit = Admit(MakeGate(), MakeHead("GET", "/", {{"Accept-Encoding", encodings}}));
    Response response = TextResponse(200, type, "");
    response.headers.emplace_back("ETag", "\"abc\"");
    response.still = body;
    PackText(&response, visit.acceptsGzip);
    return response;
  };
  const Response js = packed("text/javascript; charset=utf-8", "br, gzip;q=0.5", text);
  EXPECT_EQ(Unpacked(js.body, text.size()), text);
  EXPECT_LT(js.Size(), text.size() / 2);
  EXPECT_EQ(header(js, "Content-Encoding") + header(js, "ETag") + header(js, "Vary"), "gzipW/\"abc\"Accept-Encoding");
  const Response plain = packed("application/json", "br, gzip;q=0", text);
  EXPECT_EQ(plain.still, text);
  EXPECT_EQ(header(plain, "Content-Encoding") + header(plain, "ETag") + header(plain, "Vary"),
            "-\"abc\"Accept-Encoding");
  EXPECT_EQ(packed("image/jpeg", "gzip", text).still, text);
  EXPECT_EQ(packed("text/html", "gzip", "short").still, "short");
}

TEST(Gate, AcceptChoosesReportOrPicture) {
  for (const char* json :
       {"application/json", "application/json, text/plain, */*", "image/*;q=0.5, application/json"}) {
    EXPECT_TRUE(WantedBy(json).json) << json;
  }
  for (const char* picture : {"", "*/*", "image/png, application/json", "application/json;q=0", "image/*",
                              "application/json; q=0.5, image/jpeg"}) {
    EXPECT_FALSE(WantedBy(picture).json) << picture;
  }
}

TEST(Gate, AcceptChoosesTheKindOfFile) {
  const std::pair<const char*, const char*> formats[] = {
      {"", ""},
      {"*/*", ""},
      {"image/*", ""},
      {"image/png", "png"},
      {"IMAGE/JPEG", "jpg"},
      {"image/tiff, image/*;q=0.9", "tiff"},
      {"image/avif,image/webp,image/*,*/*;q=0.8", ""},
      {"image/png;q=0.4, image/jpeg;q=0.5", "jpg"},
      {"image/jpeg;q=0.2, image/*;q=0.5, */*;q=0.9", ""},
      {"image/png , */* ; q=0.5", "png"},
      {"image/*, image/png;q=0", ""},
      {"image/png;q=nan, image/jpeg;q=0.001", "jpg"},
      {"image/jpegs", ""},
      {",;q=,image/png;level=1;q=9e99,", "png"},
  };
  for (const auto& [accept, format] : formats) EXPECT_EQ(WantedBy(accept).format, format) << accept;
  EXPECT_TRUE(WantedBy("image/*").picture);
  EXPECT_TRUE(WantedBy("image/png, application/json").picture);
  for (const char* none : {"", "*/*", "application/json, image/png;q=0.5", "imagepng", "image/"}) {
    EXPECT_FALSE(WantedBy(none).picture) << none;
  }
  EXPECT_TRUE(WantedBy("application/zip, image/*;q=0.5").zip);
  EXPECT_FALSE(WantedBy("application/zip, image/*").zip);
  EXPECT_FALSE(WantedBy("*/*").zip);
}

std::string HeaderOf(const Response& response, std::string_view name) {
  std::string all;
  for (const auto& [known, value] : response.headers) all += known == name ? value + ";" : "";
  return all;
}

// What a page of that origin is told with the answer to a request of that method.
Response ToldTo(const std::string& origin, const std::string& method, const Pairs& more = {}) {
  const Gate gate(HostList("127.0.0.1", true, {}), std::nullopt, {}, kLimits,
                  {OriginOf("HTTPS://Studio.example:443"), OriginOf("http://localhost:3000")});
  Pairs headers = more;
  if (!origin.empty()) headers.emplace_back("Origin", origin);
  Visit visit;
  Response response;
  try {
    gate.Admit(MakeHead(method, "/v1/make", headers), &visit);
  } catch (const Problem& problem) {
    response = ProblemResponse(problem);
  }
  gate.AddOriginHeaders(visit, &response);
  return response;
}

TEST(Gate, OnlyNamedOriginsMayAskFromElsewhere) {
  for (const char* origin : {"https://studio.example", "http://localhost:3000"}) {
    const Response answer = ToldTo(origin, "POST"), preflight = ToldTo(origin, "OPTIONS");
    EXPECT_EQ(answer.status, 200U);
    EXPECT_EQ(HeaderOf(answer, "Access-Control-Allow-Origin"), std::string(origin) + ";");
    EXPECT_EQ(HeaderOf(answer, "Vary"), "Origin;");
    EXPECT_EQ(HeaderOf(preflight, "Access-Control-Allow-Methods"), "POST, OPTIONS;");
    EXPECT_NE(HeaderOf(preflight, "Access-Control-Allow-Headers").find("Authorization"), std::string::npos);
    EXPECT_EQ(HeaderOf(preflight, "Access-Control-Allow-Private-Network"), "");
    EXPECT_EQ(
        HeaderOf(answer, "Access-Control-Allow-Credentials") + HeaderOf(preflight, "Access-Control-Allow-Credentials"),
        "");
  }
  const Pairs near = {{"Access-Control-Request-Private-Network", "true"}};
  EXPECT_EQ(HeaderOf(ToldTo("https://studio.example", "OPTIONS", near), "Access-Control-Allow-Private-Network"),
            "true;");
  // Errors are for the page too.
  const Response refused = ToldTo("https://studio.example", "GET");
  EXPECT_EQ(refused.status, 405U);
  EXPECT_EQ(HeaderOf(refused, "Access-Control-Allow-Origin"), "https://studio.example;");
  for (const char* origin : {"http://studio.example", "https://studio.example:444",
                             "https://studio.example.evil.example", "https://evil.example", "null", "*"}) {
    const Response answer = ToldTo(origin, "POST");
    EXPECT_EQ(answer.status, 403U) << origin;
    EXPECT_EQ(HeaderOf(answer, "Access-Control-Allow-Origin"), "") << origin;
    EXPECT_EQ(HeaderOf(answer, "Vary"), "Origin;") << origin;
    EXPECT_EQ(HeaderOf(ToldTo(origin, "OPTIONS"), "Access-Control-Allow-Methods"), "") << origin;
  }
  EXPECT_EQ(ToldTo("", "POST").status, 200U);
}

TEST(Gate, OriginsAreWrittenAsBrowsersDo) {
  EXPECT_EQ(OriginOf("HTTP://LocalHost:80"), "http://localhost");
  EXPECT_EQ(OriginOf("https://[::1]:8443"), "https://[::1]:8443");
  for (const char* none : {"", "*", "null", "studio.example", "https://", "https://a/", "https://a/b", "https://a:b",
                           "ftp://a", "https://a b", "https://u@a", "https://a\r\nb"}) {
    EXPECT_EQ(OriginOf(none), "") << none;
  }
}

}  // namespace
