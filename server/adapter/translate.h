// What the forms of the seven paths of HivisionIDPhotos ask for, in orders of this program. docs/moving.md says what
// becomes of each field, and why.
#ifndef QX_SERVER_ADAPTER_TRANSLATE_H
#define QX_SERVER_ADAPTER_TRANSLATE_H

#include <string>
#include <string_view>
#include <vector>

#include "server/http/message.h"

namespace qx::server {

// A command with its options.
struct Step {
  std::string command;
  Pairs options;
};

struct Translation {
  std::vector<Step> steps;                // one or two: the second works on what the first made
  std::vector<std::string_view> members;  // of the answer, for the pictures of the last step in turn
};

// `form`: the name of the path, such as idphoto; `fields`: all but the picture, a name no more than once. Fields of the
// interface that mean nothing here are passed over. Throws Failure (kBadOption, field "option") for unknown fields and
// values that cannot be read or are out of their range, in so far as the command would not refuse them itself.
Translation Translate(std::string_view form, const Pairs& fields);

}  // namespace qx::server

#endif  // QX_SERVER_ADAPTER_TRANSLATE_H
