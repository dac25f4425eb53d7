// usage: play_server [NAME=NUMBER | token=TEXT | listen=ADDRESS]...
// A server whose handler plays at work: it waits, then says what it was given. The first line names the address.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "jobs/worker_pool.h"
#include "photo/base/failure.h"
#include "server/http/listener.h"
#include "server/http/problem.h"

namespace {

using namespace qx::server;  // NOLINT: all of it

struct Nobody {};

// Options tell what to play: wait=MILLISECONDS, large=BYTES of an answer, fail=CODE, throw, silent (no answer at all),
// gone (waits until the client has left).
class PlayHandler final : public Handler {
 public:
  void Handle(Request request, std::function<void(Response)> reply) override {
    const auto shared = std::make_shared<Request>(std::move(request));
    if (Option(*shared, "throw")) throw qx::photo::Failure(qx::photo::FailureCode::kNoFace, "no face was found");
    const auto job = pool_.TrySubmit([this, shared, reply = std::move(reply)](Nobody&, const auto&) {
      if (!Option(*shared, "silent")) reply(Answer(*shared));
    });
    if (!job) throw Problem(500, "queue", "more work than slots");
  }
  std::string Metrics() const override { return "play_left_total " + std::to_string(left_) + "\n"; }

 private:
  static std::optional<std::string> Option(const Request& request, std::string_view name) {
    for (const auto& [known, value] : request.options) {
      if (known == name) return value;
    }
    return std::nullopt;
  }

  Response Answer(const Request& request) {
    using namespace std::chrono_literals;  // NOLINT
    std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(Option(request, "wait").value_or("0"))));
    for (int i = 0; Option(request, "gone") && i < 3000 && !request.abandoned(); ++i) std::this_thread::sleep_for(10ms);
    if (Option(request, "gone") && request.abandoned()) ++left_;
    if (Option(request, "memory")) {
      return ProblemResponse(qx::photo::Failure(qx::photo::FailureCode::kOutOfMemory, "memory is short"));
    }
    Response response;
    response.headers = {{"Content-Type", "application/octet-stream"}, {"X-Broken", "a\r\nX-Smuggled: b"}};
    if (const auto large = Option(request, "large")) {
      response.body.resize(std::stoul(*large), 'x');
      return response;
    }
    uint32_t sum = 0;
    for (const uint8_t byte : request.photo) sum = sum * 31 + byte;
    std::string text = request.method + " " + std::string(LabelOf(request.route)) + " " + request.route.name + " " +
                       std::to_string(request.photo.size()) + " " + std::to_string(sum) + " " +
                       std::to_string(request.mask.size()) + (request.wantsJson ? " json" : " picture");
    for (const auto& [name, value] : request.options) text += " " + name + "=" + value;
    response.body.assign(text.begin(), text.end());
    return response;
  }

  std::atomic<int> left_{0};
  qx::jobs::WorkerPool<Nobody> pool_{2, 8, [] { return std::make_unique<Nobody>(); }};
};

Settings ReadSettings(int argc, char** argv) {
  Settings settings;
  Limits& limits = settings.limits;
  const std::map<std::string, std::chrono::milliseconds*> times = {
      {"head", &limits.head}, {"body", &limits.body}, {"answer", &limits.answer},
      {"wait", &limits.wait}, {"drop", &limits.drop}, {"drain", &limits.drain}};
  const std::map<std::string, size_t*> sizes = {
      {"slots", &limits.slots}, {"waiting", &limits.waiting}, {"connections", &limits.connections}};
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    const size_t equals = word.find('=');
    const std::string name = word.substr(0, equals), value = word.substr(equals + 1);
    if (name == "token") {
      settings.token.emplace(value);
    } else if (name == "listen") {
      settings.listen = value;
    } else if (name == "rate") {
      limits.bytesPerSecond = std::stoul(value);
    } else if (name == "body_bytes") {
      limits.bodyBytes = std::stoul(value);
    } else if (const auto time = times.find(name); time != times.end()) {
      *time->second = std::chrono::milliseconds(std::stoi(value));
    } else {
      *sizes.at(name) = std::stoul(value);
    }
  }
  settings.files = {{"/", "text/html; charset=utf-8", "\"abc\"", "<!doctype html><title>page</title>", false},
                    {"/main-1234.js", "text/javascript", "\"def\"", "let a = 1;", true}};
  settings.log = [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); };
  return settings;
}

}  // namespace

int main(int argc, char** argv) {
  GiveBackFreedMemory();
  try {
    PlayHandler handler;
    Listener listener(ReadSettings(argc, argv), &handler);
    listener.StopAtSignals();
    std::printf("%s\n", listener.Address().c_str());
    std::fflush(stdout);
    listener.Run();
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "%s\n", exception.what());
    return 2;
  }
  return 0;
}
