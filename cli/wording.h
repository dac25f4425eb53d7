// What went wrong, in the words of this program: what its options can do about it stands here alone.
#ifndef QX_CLI_WORDING_H
#define QX_CLI_WORDING_H

#include <exception>
#include <stdexcept>
#include <string>

#include "photo/base/failure.h"

namespace qx::cli {

// The work cannot start at all: the output cannot be written, or the arguments contradict each other. Ends the
// program with the status for wrong usage. The message is complete, with the file in it.
class SetupFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The reason as one line, with the options that help behind it.
std::string Wording(const std::exception& exception);

// What kind of failure it is, also of an exception that is none.
photo::FailureCode CodeOf(const std::exception& exception);

// The same failure with what it is about (a file's printable name, say) in front of its text.
photo::Failure About(const std::string& what, const std::exception& exception);

// What `call` gives; its Failure is one of the arguments, of which nothing is tried: SetupFailure.
template <typename Call>
auto AsSetup(Call call) {
  try {
    return call();
  } catch (const photo::Failure& failure) {
    throw SetupFailure(Wording(failure));
  }
}

}  // namespace qx::cli

#endif  // QX_CLI_WORDING_H
