// Problem documents, slots, tokens, counts, and where the server may listen.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <new>
#include <nlohmann/json.hpp>
#include <string>

#include "photo/base/failure.h"
#include "server/http/admission.h"
#include "server/http/listener.h"
#include "server/http/metrics.h"
#include "server/http/problem.h"
#include "server/http/token.h"

namespace {

using namespace qx::server;  // NOLINT: all of it
using qx::photo::Failure;
using qx::photo::FailureCode;

nlohmann::json Json(const Response& response) {
  return nlohmann::json::parse(response.body.begin(), response.body.end());
}

TEST(Problem, FailuresBecomeDocuments) {
  const Response response = ProblemResponse(
      Failure(FailureCode::kNoFit, "no cut \xff fits", {{"bound", "head"}, {"got", 0.5}, {"bound", "top\n"}}));
  EXPECT_EQ(response.headers[0].second, "application/problem+json");
  EXPECT_EQ(Json(response), nlohmann::json::parse(R"({"type": "about:blank", "title": "Unprocessable Content",
      "status": 422, "detail": "no cut \\xFF fits", "code": "no_fit", "fields": [{"name": "bound", "value": "head"},
      {"name": "got", "value": 0.5}, {"name": "bound", "value": "top\\x0A"}]})"));
}

TEST(Problem, EachFailureHasItsStatus) {
  const std::pair<FailureCode, unsigned> statuses[] = {
      {FailureCode::kBadOption, 400},   {FailureCode::kUnknownPreset, 400}, {FailureCode::kTooLarge, 413},
      {FailureCode::kNotAPicture, 415}, {FailureCode::kDamagedFile, 422},   {FailureCode::kNoFace, 422},
      {FailureCode::kUnsuitable, 422},  {FailureCode::kOutOfMemory, 503},   {FailureCode::kEngine, 500}};
  for (const auto& [code, status] : statuses) EXPECT_EQ(ProblemResponse(Failure(code, "x")).status, status);
  EXPECT_EQ(ProblemResponse(Failure(FailureCode::kOutOfMemory, "x", {{"what", "crop"}})).status, 422U);
  EXPECT_EQ(ProblemResponse(Failure(FailureCode::kOutOfMemory, "x")).headers.back().first, "Retry-After");
  EXPECT_EQ(ProblemResponse(std::bad_alloc()).status, 503U);
  // What was not meant for strangers stays inside.
  const Response inner = ProblemResponse(std::runtime_error("/home/me"));
  EXPECT_EQ(inner.status, 500U);
  EXPECT_EQ(Json(inner).dump().find("/home/me"), std::string::npos);
}

TEST(Admission, SlotsGoToThoseWhoWaitInTurn) {
  Admission admission(1, 2);
  std::string entered;
  const auto guest = [&entered](char name) { return [&entered, name] { entered += name; }; };
  EXPECT_EQ(admission.Enter(1, guest('a')), Admission::Place::kSlot);
  EXPECT_EQ(admission.Enter(2, guest('b')), Admission::Place::kWaits);
  EXPECT_EQ(admission.Enter(3, guest('c')), Admission::Place::kWaits);
  EXPECT_EQ(admission.Enter(4, guest('d')), Admission::Place::kFull);
  admission.Leave(2);
  EXPECT_EQ(admission.Enter(5, guest('e')), Admission::Place::kWaits);
  admission.Release();
  admission.Release();
  EXPECT_EQ(entered, "ce");
  admission.Release();
  EXPECT_EQ(admission.Free(), 1U);
  EXPECT_EQ(admission.Enter(6, guest('f')), Admission::Place::kSlot);
}

TEST(Token, IsReadFromTheFirstLineOfAFile) {
  const std::string path = testing::TempDir() + "token";
  std::ofstream(path) << "0123456789abcdef\r\nmore\n";
  EXPECT_TRUE(Token::FromFile(path).Matches("Bearer 0123456789abcdef"));
  std::ofstream(path) << "short\n";
  EXPECT_THROW(Token::FromFile(path), Failure);
  std::remove(path.c_str());
  EXPECT_THROW(Token::FromFile(path), Failure);
  EXPECT_THROW(Token::FromFile("/dev/zero"), Failure);
  EXPECT_THROW(Token::FromFile("/"), Failure);
  EXPECT_THROW(Token("sixteen letters, spaces"), Failure);
}

TEST(Metrics, AreWhatPrometheusReads) {
  Metrics metrics;
  metrics.Answered("/v1/make", 200, std::chrono::milliseconds(200), 10, 20);
  metrics.Answered("/v1/make", 200, std::chrono::seconds(1000), 1, 2);
  metrics.Answered("none", 404, std::chrono::nanoseconds(0), 0, 3);
  const std::string text = metrics.Text({3, 2, 4, 1, false});
  for (const char* line :
       {"idphoto_requests_total{path=\"/v1/make\",status=\"200\"} 2\n",
        "idphoto_request_seconds_bucket{path=\"/v1/make\",le=\"0.1\"} 0\n",
        "idphoto_request_seconds_bucket{path=\"/v1/make\",le=\"0.3\"} 1\n",
        "idphoto_request_seconds_bucket{path=\"/v1/make\",le=\"100\"} 1\n",
        "idphoto_request_seconds_bucket{path=\"/v1/make\",le=\"+Inf\"} 2\n",
        "idphoto_request_seconds_sum{path=\"/v1/make\"} 1000.2\n", "idphoto_received_bytes_total 11\n",
        "idphoto_sent_bytes_total 25\n", "idphoto_connections 3\n", "idphoto_waiting 2\n", "idphoto_slots_free 1\n"}) {
    EXPECT_NE(text.find(line), std::string::npos) << line << text;
  }
}

class NoHandler final : public Handler {
  void Handle(Request, std::function<void(Response)>) override {}
};

TEST(Listener, ListensOnItsOwnComputerUnlessThereIsAToken) {
  NoHandler handler;
  const auto address = [&handler](const std::string& listen, bool token = false) {
    Settings settings;
    settings.listen = listen;
    if (token) settings.token.emplace("0123456789abcdef");
    try {
      return Listener(settings, &handler).Address();
    } catch (const Failure& failure) {
      return failure.Word("option") + ": " + failure.what();
    }
  };
  EXPECT_EQ(address("localhost:0").substr(0, 17), "http://127.0.0.1:");
  EXPECT_EQ(address("0.0.0.0:0", true).substr(0, 15), "http://0.0.0.0:");
  for (const char* open : {"0.0.0.0:0", "[::]:0", "192.0.2.1:0"}) {
    EXPECT_NE(address(open).find("listen: others can reach"), std::string::npos) << open;
  }
  for (const char* bad :
       {"", "127.0.0.1", "127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:-1", "example.org:80", ":80", "[::1]"}) {
    EXPECT_NE(address(bad).find("no address"), std::string::npos) << bad << address(bad);
  }
  // A port that is taken.
  Settings settings;
  const Listener first(settings, &handler);
  const std::string taken = first.Address();
  EXPECT_NE(address(taken.substr(7, taken.size() - 8)).find("cannot listen"), std::string::npos);
}

}  // namespace
