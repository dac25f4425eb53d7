// Ending a long run in good order.
#ifndef QX_CLI_PLATFORM_INTERRUPT_H
#define QX_CLI_PLATFORM_INTERRUPT_H

#include <signal.h>

#include <initializer_list>

namespace qx::cli {

// While one exists, the first interrupt (SIGINT, or another one of the signals that it watches) is only noted, and the
// user told; the second one does what it did before. One at a time.
class InterruptWatch {
 public:
  static constexpr char kFinishing[] = "finishing the photographs at work";
  // `told`: what the user is told to happen; lives as long as the program.
  explicit InterruptWatch(std::initializer_list<int> signals = {SIGINT}, const char* told = kFinishing);
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

  // Whether there has been an interrupt. For any thread.
  bool Interrupted() const;
};

}  // namespace qx::cli

#endif  // QX_CLI_PLATFORM_INTERRUPT_H
