#include "server/children/process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace qx::server {
namespace {

[[noreturn]] void Fail(const char* what, int error = errno) {
  throw std::system_error(error, std::generic_category(), what);
}

// Above those that the child gets, so that moving one never runs over another.
Descriptor High(int number) {
  Descriptor low(number);
  Descriptor high(fcntl(number, F_DUPFD_CLOEXEC, kChildSocket + 1));
  if (high.Number() < 0) Fail("a descriptor");
  return high;
}

// Of the server's environment, which may hold secrets, only what loading the program and looking into it need.
std::vector<char*> Environment() {
  constexpr std::string_view kKept[] = {
      "LD_LIBRARY_PATH=", "GLIBC_TUNABLES=", "ASAN_OPTIONS=", "UBSAN_OPTIONS=", "LSAN_OPTIONS=", "TSAN_OPTIONS="};
  std::vector<char*> kept;
  for (char** entry = environ; *entry; ++entry) {
    for (const std::string_view name : kKept) {
      if (std::string_view(*entry).substr(0, name.size()) == name) kept.push_back(*entry);
    }
  }
  kept.push_back(nullptr);
  return kept;
}

class SpawnPlan {
 public:
  SpawnPlan(int socket, int log) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions_, log, 1);
    posix_spawn_file_actions_adddup2(&actions_, log, 2);
    posix_spawn_file_actions_adddup2(&actions_, socket, kChildSocket);
    // The server's other connections are strangers'.
    posix_spawn_file_actions_addclosefrom_np(&actions_, kChildSocket + 1);
    posix_spawnattr_init(&attributes_);
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    // A group of its own: what the user types at the server's terminal is meant for the server.
    posix_spawnattr_setpgroup(&attributes_, 0);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
  }
  ~SpawnPlan() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnPlan(const SpawnPlan&) = delete;
  SpawnPlan& operator=(const SpawnPlan&) = delete;

  int Start(const std::string& program, pid_t* id) const {
    std::string name = "idphoto", argument = kChildArgument;
    char* arguments[] = {name.data(), argument.data(), nullptr};
    return posix_spawn(id, program.c_str(), &actions_, &attributes_, arguments, Environment().data());
  }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

void DoNotBlock(int descriptor) {
  if (fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_NONBLOCK) != 0) Fail("a descriptor");
}

}  // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  if (this != &other) {
    Close();
    number_ = other.Release();
  }
  return *this;
}

Descriptor::~Descriptor() {
  Close();
}

int Descriptor::Release() {
  return std::exchange(number_, -1);
}

void Descriptor::Close() {
  if (number_ >= 0) close(Release());
}

ChildProcess::ChildProcess(const std::string& program) {
  int pair[2], log[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) Fail("a connection");
  Descriptor first(pair[0]), second(pair[1]);
  // A photograph in fewer turns, as far as the system allows.
  constexpr int kBuffer = 2 << 20;
  for (const int end : pair) setsockopt(end, SOL_SOCKET, SO_SNDBUF, &kBuffer, sizeof kBuffer);
  if (pipe2(log, O_CLOEXEC) != 0) Fail("a pipe");
  Descriptor readLog(log[0]), writeLog(log[1]);
  socket_ = High(first.Release());
  log_ = High(readLog.Release());
  const Descriptor childSocket = High(second.Release()), childLog = High(writeLog.Release());
  DoNotBlock(socket_.Number());
  DoNotBlock(log_.Number());
  const int error = SpawnPlan(childSocket.Number(), childLog.Number()).Start(program, &id_);
  if (error != 0) Fail("a process", error);
  exit_ = Descriptor(static_cast<int>(syscall(SYS_pidfd_open, id_, 0)));
  if (exit_.Number() < 0) {
    const int reason = errno;
    kill(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
    Fail("a process", reason);
  }
}

ChildProcess::~ChildProcess() {
  if (isCollected_) return;
  Kill();
  while (waitpid(id_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

void ChildProcess::Kill() {
  if (!isCollected_) kill(id_, SIGKILL);
}

void ChildProcess::AllowTime(std::chrono::seconds time) {
  clockid_t clock;
  timespec used{};
  if (clock_getcpuclockid(id_, &clock) != 0 || clock_gettime(clock, &used) != 0) return;  // it has ended
  const rlimit limit{static_cast<rlim_t>(used.tv_sec + time.count() + 1), RLIM_INFINITY};
  prlimit(id_, RLIMIT_CPU, &limit, nullptr);
}

std::optional<int> ChildProcess::Collect() {
  int status = 0;
  if (isCollected_ || waitpid(id_, &status, WNOHANG) != id_) return std::nullopt;
  isCollected_ = true;
  return status;
}

uint64_t ResidentBytes(pid_t process) {
  const Descriptor file(open(("/proc/" + std::to_string(process) + "/statm").c_str(), O_RDONLY | O_CLOEXEC));
  char text[200] = {};
  unsigned long long pages = 0;
  if (file.Number() < 0 || read(file.Number(), text, sizeof text - 1) <= 0) return 0;
  if (std::sscanf(text, "%*u %llu", &pages) != 1) return 0;
  return pages * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

std::string WordsFor(int waitStatus) {
  if (WIFEXITED(waitStatus)) return "ended with status " + std::to_string(WEXITSTATUS(waitStatus));
  const int signal = WTERMSIG(waitStatus);
  if (signal == SIGSYS) return "asked the system for what it may not (a forbidden call)";
  if (signal == SIGXCPU) return "computed for longer than it may";
  return "ended by signal " + std::to_string(signal);
}

}  // namespace qx::server
