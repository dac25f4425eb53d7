// A child as the system sees it.
#ifndef QX_SERVER_CHILDREN_PROCESS_H
#define QX_SERVER_CHILDREN_PROCESS_H

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace qx::server {

// Where a child finds its end of the connection, and the argument that goes with it.
inline constexpr int kChildSocket = 3;
inline constexpr char kChildArgument[] = "(a child of the server)";

// A descriptor that is closed with its owner.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(other.Release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept;
  ~Descriptor();
  int Number() const { return number_; }
  int Release();
  void Close();

 private:
  int number_;
};

// A process of its own, killed and collected with its owner. The thread that starts it has to live on: when it ends, so
// does the child.
class ChildProcess {
 public:
  // Throws std::system_error.
  explicit ChildProcess(const std::string& program);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t Id() const { return id_; }
  int Socket() const { return socket_.Number(); }  // does not block
  int Log() const { return log_.Number(); }        // what the child prints; does not block
  int Exit() const { return exit_.Number(); }      // readable once the process has ended

  void Kill();
  void CloseLog() { log_.Close(); }
  // From now on it may compute for so long; what exceeds that ends it.
  void AllowTime(std::chrono::seconds time);
  // Once the process has ended: how, as a wait status; nothing before that.
  std::optional<int> Collect();

 private:
  pid_t id_ = -1;
  bool isCollected_ = false;
  Descriptor socket_, log_, exit_;
};

// What the process has in memory now, pages shared with others too; 0 where the system does not tell.
uint64_t ResidentBytes(pid_t process);

// "ended with status 3", "forbidden system call".
std::string WordsFor(int waitStatus);

}  // namespace qx::server

#endif  // QX_SERVER_CHILDREN_PROCESS_H
