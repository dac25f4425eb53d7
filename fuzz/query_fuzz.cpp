// A method, a target and headers of the fuzzer's choosing, up to what a handler would be given.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "photo/base/text.h"
#include "server/http/gate.h"
#include "server/http/problem.h"

namespace {

using namespace qx::server;  // NOLINT: all of it

void Require(bool holds) {
  if (!holds) std::abort();
}

constexpr char kOrigin[] = "https://studio.example";

Gate MakeGate() {
  const std::vector<File> files = {{"/", "text/html", "\"a\"", "page", false}};
  return {HostList("127.0.0.1", true, {}), Token("0123456789abcdef"), files, Limits(), {kOrigin}};
}

Head MakeHead(FuzzedDataProvider& input) {
  Head head;
  const char* const methods[] = {"GET", "HEAD", "POST", "DELETE", "OPTIONS", "BREW"};
  head.method = input.PickValueInArray(methods);
  if (input.ConsumeBool()) head.length = input.ConsumeIntegral<uint64_t>();
  head.chunked = input.ConsumeBool();
  head.version = input.ConsumeBool() ? 11 : 10;
  const char* const names[] = {"Host",          "Origin",           "Accept", "Content-Type",      "If-None-Match",
                               "Authorization", "Content-Encoding", "Expect", "Transfer-Encoding", "Content-Length"};
  if (input.ConsumeBool()) {
    head.headers = {{"Host", "localhost"}, {"Authorization", "Bearer 0123456789abcdef"}};
  }
  for (int i = input.ConsumeIntegralInRange(0, 4); i > 0; --i) {
    const char* const name = input.PickValueInArray(names);
    head.headers.emplace_back(name, input.ConsumeRandomLengthString(200));
  }
  head.target = input.ConsumeRemainingBytesAsString();
  return head;
}

// Whatever was answered, nobody but the pages that are named is told that they may read it.
void CheckOrigin(const Head& head, const Visit& visit, const Gate& gate) {
  Response response;
  gate.AddOriginHeaders(visit, &response);
  bool named = false;
  for (const auto& [name, value] : head.headers) named = named || OriginOf(value) == kOrigin;
  for (const auto& [name, value] : response.headers) {
    Require(name != "Access-Control-Allow-Credentials");
    Require(name != "Access-Control-Allow-Origin" || (named && value == kOrigin));
  }
}

// What is let in has one path, printable words, and rights to be there.
void Check(const Head& head, const Visit& visit, const Gate& gate) {
  const Request& request = visit.request;
  const std::string& path = request.route.path;
  Require(path.find("//") == std::string::npos && path.find("/../") == std::string::npos);
  Require(qx::photo::Printable(path) == path);
  for (const auto& [name, value] : request.options) {
    Require(!name.empty() && qx::photo::Printable(name) == name && qx::photo::Printable(value) == value);
  }
  Require(Allows(request.route, head.method) || head.target == "*");
  Require(!visit.hasBody || (visit.takesSlot && head.length.value_or(0) <= Limits().bodyBytes));
  auto answer = gate.Answer(visit);
  if (answer) AddStandardHeaders(&*answer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const Gate gate = MakeGate();
  FuzzedDataProvider input(data, size);
  const Head head = MakeHead(input);
  Visit visit;
  try {
    gate.Admit(head, &visit);
  } catch (const Problem& problem) {
    Require(problem.status >= 400 && problem.status <= 501 && *ReasonPhrase(problem.status) != '\0');
    Response response = ProblemResponse(problem);
    AddStandardHeaders(&response);
    CheckOrigin(head, visit, gate);
    return 0;
  }
  CheckOrigin(head, visit, gate);
  Check(head, visit, gate);
  return 0;
}
