// What a user wants made by the workers of a queue: which photographs, where to, with which options.
#ifndef QX_CLI_QUEUE_WISHES_H
#define QX_CLI_QUEUE_WISHES_H

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "orders/order.h"
#include "queue/message.h"

namespace qx::cli {

struct Wish {
  std::string photograph;  // a path, or an address of the web
  std::string output;      // empty: named after the photograph
  std::string sha256;      // empty: of the file that is there now
  std::shared_ptr<const orders::OptionPairs> options;
};

struct WishSource {
  std::vector<std::string> photographs;  // files, folders and patterns
  std::string list;                      // a file of such, a line for each; empty: none
  std::string lines;                     // a file of JSON lines, "-" for standard input; empty: none
  std::string folder;                    // of outputs that are named after their photographs; may be empty
  orders::OptionPairs options;           // of all; a JSON line's own stand in place of those of the same names
};

// All of them, with absolute names, and names of outputs as a batch gives them. Throws SetupFailure: something cannot
// be read, two would get one output, an output would replace a photograph, or options contradict each other.
std::vector<Wish> ReadWishes(const WishSource& source);

// The job, whose id follows from all that it says, so that the same wish is the same job. Reads the photograph for its
// SHA-256 where the wish has none. Throws Failure, and BadMessage for names that a job cannot have.
queue::Job JobOf(const Wish& wish);

}  // namespace qx::cli

#endif  // QX_CLI_QUEUE_WISHES_H
