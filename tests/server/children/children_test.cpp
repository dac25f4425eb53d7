// What becomes of requests when their children die, hang, misbehave or are replaced.
#include "server/children/children.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <future>
#include <mutex>
#include <string>
#include <vector>

#include "test_worker.h"

namespace qx::server {
namespace {

using Kind = ChildReply::Kind;

#ifdef QX_SANITIZED
constexpr bool kIsConfined = false;  // see Confine
#else
constexpr bool kIsConfined = true;
#endif

ChildrenSettings Settings(size_t count) {
  ChildrenSettings settings;
  settings.count = count;
  settings.requestTime = std::chrono::seconds(60);
  settings.startTime = std::chrono::seconds(60);
  settings.waitTime = std::chrono::seconds(120);
  return settings;
}

pid_t PidOf(Children& children) {
  return std::stoi(Ask(children, "pid").report);
}

size_t OpenDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(all), end(all)));
}

// Processes that this one has started, ended ones that nobody has collected too.
size_t Processes() {
  size_t count = 0;
  for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
    std::ifstream list(thread.path() / "children");
    for (pid_t id; list >> id;) ++count;
  }
  return count;
}

TEST(Children, KilledInTheMiddleOfARequestFailItAloneAndAreReplaced) {
  Children children(Settings(2));
  ASSERT_TRUE(Eventually([&] { return children.State().ready == 2; }));
  const pid_t first = PidOf(children);
  Waited hanging(children, {"sleep", {}, {}, {}, ""});
  // The one that is idle answers.
  const pid_t idle = PidOf(children);
  Waited other(children, {"sleep", {}, {}, {}, ""});
  Waited waiting(children, {"echo", {{"word", "later"}}, {}, {}, ""});
  ASSERT_TRUE(Eventually([&] { return children.State().busy == 2 && children.State().waiting == 1; }));
  kill(idle, SIGKILL);
  const ChildReply died = other.Get(), later = waiting.Get();
  EXPECT_EQ(Kind::kKilled, died.kind);
  EXPECT_EQ("the process that worked on the photograph ended by signal 9", died.text);
  EXPECT_TRUE(later.kind == Kind::kAnswer && later.report == "later");
  EXPECT_FALSE(hanging.IsReady());
  const pid_t fresh = PidOf(children);
  EXPECT_TRUE(fresh != first && fresh != idle);
  EXPECT_EQ(3u, children.State().started);
  kill(first, SIGKILL);
  EXPECT_EQ(Kind::kKilled, hanging.Get().kind);
  // One that crashes may have its photograph to thank for it.
  Waited crashing(children, {"sleep", {}, {}, {}, ""});
  ASSERT_TRUE(Eventually([&] { return children.State().busy == 1; }));
  kill(fresh, SIGSEGV);
  EXPECT_EQ(Kind::kDied, crashing.Get().kind);
}

TEST(Children, ThatTakeTooLongAreKilled) {
  ChildrenSettings settings = Settings(1);
  settings.requestTime = std::chrono::milliseconds(300);
  Children children(settings);
  EXPECT_EQ(Kind::kTimedOut, Ask(children, "sleep").kind);
  EXPECT_EQ(Kind::kAnswer, Ask(children, "pid").kind);
}

TEST(Children, AreKilledAtCallsOfTheSystemThatTheyHaveNoNeedFor) {
  if (!kIsConfined) GTEST_SKIP() << "sanitizers look into themselves";
  std::mutex mutex;
  std::string log;
  ChildrenSettings settings = Settings(1);
  settings.log = [&](const std::string& line) {
    const std::lock_guard<std::mutex> lock(mutex);
    log += line + "\n";
  };
  Children children(settings);
  for (const char* command : {"socket", "open", "fork", "execute"}) {
    const ChildReply reply = Ask(children, command);
    EXPECT_EQ(Kind::kDied, reply.kind) << command << reply.report;
    EXPECT_NE(std::string::npos, reply.text.find("a forbidden call")) << command << reply.text;
  }
  EXPECT_EQ(Kind::kAnswer, Ask(children, "pid").kind);
  EXPECT_TRUE(Eventually([&] { return children.State().died == 4; }));
  const std::lock_guard<std::mutex> lock(mutex);
  EXPECT_EQ(4, std::count(log.begin(), log.end(), '\n')) << log;
}

// A line of what the system says of a process, such as "Seccomp:\t2".
bool Says(pid_t id, const std::string& line) {
  std::ifstream status("/proc/" + std::to_string(id) + "/status");
  for (std::string each; std::getline(status, each);) {
    if (each == line) return true;
  }
  return false;
}

rlim_t LimitOf(pid_t id, __rlimit_resource resource) {
  rlimit limit{};
  prlimit(id, resource, nullptr, &limit);
  return limit.rlim_cur;
}

TEST(Children, AreLimitedAndCannotGainRights) {
  ChildrenSettings settings = Settings(1);
  settings.requestTime = std::chrono::seconds(5);
  Children children(settings);
  const pid_t id = PidOf(children);
  EXPECT_TRUE(Says(id, "NoNewPrivs:\t1"));
  EXPECT_EQ(0u, LimitOf(id, RLIMIT_CORE));
  EXPECT_EQ(0u, LimitOf(id, RLIMIT_FSIZE));
  EXPECT_EQ(16u, LimitOf(id, RLIMIT_NOFILE));
  // Of time in all: what it has used, and what the request may.
  EXPECT_GE(LimitOf(id, RLIMIT_CPU), 5u);
  EXPECT_LE(LimitOf(id, RLIMIT_CPU), 60u);
  if (!kIsConfined) return;
  EXPECT_TRUE(Says(id, "Seccomp:\t2"));
  EXPECT_EQ(settings.limits.addressBytes, LimitOf(id, RLIMIT_AS));
}

TEST(Children, ThatAbortOrTalkNonsenseFailTheirRequestAlone) {
  Children children(Settings(1));
  EXPECT_EQ(Kind::kDied, Ask(children, "abort").kind);
  EXPECT_EQ(Kind::kDied, Ask(children, "garble").kind);
  const ChildReply unknown = Ask(children, "no such command");
  EXPECT_TRUE(unknown.kind == Kind::kFailure && unknown.code == "bad_option");
  if (!kIsConfined) return;
  // What is out of memory says so and goes on.
  const pid_t before = PidOf(children);
  const ChildReply memory = Ask(children, "memory");
  EXPECT_TRUE(memory.kind == Kind::kFailure && memory.code == "out_of_memory") << memory.text;
  EXPECT_EQ(before, PidOf(children));
}

TEST(Children, AreReplacedAfterTheirShareAndLeaveNothingBehind) {
  const size_t descriptors = OpenDescriptors(), processes = Processes();
  {
    ChildrenSettings settings = Settings(1);
    settings.requestsOfChild = 200;
    Children children(settings);
    std::vector<pid_t> ids;
    for (int i = 0; i < 300; ++i) ids.push_back(PidOf(children));
    EXPECT_EQ(ids[0], ids[199]);
    EXPECT_NE(ids[199], ids[200]);
    EXPECT_EQ(ids[200], ids[299]);
    ASSERT_TRUE(Eventually([&] { return children.State().replaced == 1; }));
    EXPECT_EQ(0u, children.State().died);
    EXPECT_EQ(processes + 1, Processes());
  }
  EXPECT_EQ(processes, Processes());
  EXPECT_EQ(descriptors, OpenDescriptors());
}

TEST(Children, WaitingRequestsCanBeCancelledAreBoundedAndStop) {
  ChildrenSettings settings = Settings(1);
  settings.mostWaiting = 2;
  auto children = std::make_unique<Children>(settings);
  Waited running(*children, {"sleep", {}, {}, {}, ""});
  ASSERT_TRUE(Eventually([&] { return children->State().busy == 1; }));
  bool wasCalled = false;
  const uint64_t number = children->Run({"pid", {}, {}, {}, ""}, [&](ChildReply) { wasCalled = true; });
  Waited second(*children, {"pid", {}, {}, {}, ""}), third(*children, {"pid", {}, {}, {}, ""});
  EXPECT_EQ(Kind::kBusy, third.Get().kind);
  EXPECT_TRUE(children->Cancel(number));
  EXPECT_FALSE(children->Cancel(number));
  EXPECT_FALSE(children->Cancel(running.Number()));
  // Whoever has gone holds nobody up.
  ChildRequest forNobody{"pid", {}, {}, {}, ""};
  forNobody.abandoned = [] { return true; };
  EXPECT_EQ(Kind::kCancelled, Waited(*children, std::move(forNobody)).Get().kind);
  children->Stop();
  EXPECT_EQ(Kind::kCancelled, second.Get().kind);
  EXPECT_EQ(Kind::kBusy, Ask(*children, "pid").kind);
  EXPECT_FALSE(running.IsReady());
  // Who lets go of the children waits for nothing that runs.
  children.reset();
  EXPECT_EQ(Kind::kKilled, running.Get().kind);
  EXPECT_FALSE(wasCalled);
}

TEST(Children, ThatCannotStartAreTriedAgainWithPauses) {
  std::mutex mutex;
  int lines = 0;
  ChildrenSettings settings = Settings(1);
  settings.log = [&](const std::string&) {
    const std::lock_guard<std::mutex> lock(mutex);
    ++lines;
  };
  settings.waitTime = std::chrono::milliseconds(1000);
  for (const char* program : {"/no/such/program", "/bin/false"}) {
    lines = 0;
    settings.program = program;
    Children children(settings);
    EXPECT_EQ(Kind::kBusy, Ask(children, "pid").kind) << program;
    const std::lock_guard<std::mutex> lock(mutex);
    // After 0, 100, 300 and 700 ms.
    EXPECT_GE(lines, 2) << program;
    EXPECT_LE(lines, 5) << program;
  }
}

TEST(Children, HandOnLargeBodiesWhole) {
  Children children(Settings(1));
  photo::Bytes large(size_t{40} << 20);
  for (size_t i = 0; i < large.size(); ++i) large[i] = static_cast<uint8_t>(i * i >> 7);
  const ChildReply reply = Waited(children, {"echo", {}, large, {}, ""}).Get();
  ASSERT_EQ(1u, reply.pictures.size());
  EXPECT_TRUE(large == reply.pictures[0].bytes);
}

}  // namespace
}  // namespace qx::server
