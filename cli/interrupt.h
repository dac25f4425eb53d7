// Ending a long run in good order.
#ifndef QX_CLI_INTERRUPT_H
#define QX_CLI_INTERRUPT_H

#include <signal.h>

namespace qx::cli {

// While one exists, the first interrupt (SIGINT) is only noted, and the user told; the second one does what an
// interrupt did before. One at a time.
class InterruptWatch {
 public:
  InterruptWatch();
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

  // Whether there has been an interrupt. For any thread.
  bool Interrupted() const;

 private:
  struct sigaction before_ = {};
};

}  // namespace qx::cli

#endif  // QX_CLI_INTERRUPT_H
