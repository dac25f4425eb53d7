// Lines that a program says while it must not wait.
#ifndef QX_CLI_LINE_LOG_H
#define QX_CLI_LINE_LOG_H

#include <memory>
#include <string>

namespace qx::cli {

// Writes lines to a descriptor from a thread of its own: a pipe that nobody reads fills up, and whoever writes to it
// then stands still for good. A server must not. Nor does a reader that goes away end the program (SIGPIPE).
class LineLog {
 public:
  // The descriptor stays the caller's, and open.
  explicit LineLog(int descriptor);
  // Waits for the lines that are still to be written, but not for longer than a second.
  ~LineLog();
  LineLog(const LineLog&) = delete;
  LineLog& operator=(const LineLog&) = delete;

  // The line comes without its end. For any thread; never waits. Lines for which there is no room are left out, and
  // their number stands in their place. Nothing is thrown.
  void Say(const std::string& line) noexcept;

 private:
  struct Shared;
  static void Write(const Shared* shared, const std::string& text);
  static void Live(const std::shared_ptr<Shared>& shared);

  // The thread's too, which may stay in a write that never ends.
  const std::shared_ptr<Shared> shared_;
};

}  // namespace qx::cli

#endif  // QX_CLI_LINE_LOG_H
