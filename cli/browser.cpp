#include "cli/browser.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

namespace qx::cli {
namespace {

class SpawnPlan {
 public:
  // Nothing of the server's own: no sockets, and neither its input nor its outputs, whose readers wait for their end.
  // Not the terminal's interrupts either, which are meant for the server.
  SpawnPlan() {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDWR, 0);
    posix_spawn_file_actions_adddup2(&actions_, STDIN_FILENO, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions_, STDIN_FILENO, STDERR_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
    posix_spawnattr_init(&attributes_);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSID);
  }
  ~SpawnPlan() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnPlan(const SpawnPlan&) = delete;
  SpawnPlan& operator=(const SpawnPlan&) = delete;

  // True when the program runs.
  bool Start(std::string program, std::string argument, pid_t* process) const {
    char* const arguments[] = {program.data(), argument.data(), nullptr};
    return posix_spawnp(process, program.c_str(), &actions_, &attributes_, arguments, environ) == 0;
  }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

}  // namespace

void OpenInBrowser(const std::string& address) {
  pid_t process = 0;
  if (!SpawnPlan().Start("xdg-open", address, &process)) return;
  // It may last as long as the browser, or end at once: somebody has to take note.
  std::thread([process] { waitpid(process, nullptr, 0); }).detach();
}

}  // namespace qx::cli
