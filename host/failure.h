// What goes wrong with one photograph or one output, in words for the user.
#ifndef QX_HOST_FAILURE_H
#define QX_HOST_FAILURE_H

#include <stdexcept>

namespace qx::host {

// The message is one line, "what is wrong; what to do about it". It does not name the file: whoever reports the
// failure puts the name in front.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The work cannot start at all: the output cannot be written, or the arguments contradict each other. Ends the
// program with the status for wrong usage. The message is complete, with the file in it.
class SetupFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace qx::host

#endif  // QX_HOST_FAILURE_H
