// What a child replied, as an answer of HTTP. Nothing in a reply is believed: a photograph may have taken the child
// over.
#ifndef QX_SERVER_ANSWER_H
#define QX_SERVER_ANSWER_H

#include <string>
#include <string_view>

#include "server/children/message.h"
#include "server/http/message.h"

namespace qx::server {

// The picture; the report for who wants it and where there are no pictures; an archive of several.
Response AnswerOf(const ChildReply& reply, const Wanted& wanted);

// The problem document of any reply but an answer: 4xx where the photograph or the options are to blame, 503 while
// there is no child for it.
Response FailureAnswer(const ChildReply& reply);

// The text of a JSON object with members before its own and after them, each as `"name":value` with commas between;
// either may be empty. Throws Problem for a text that is no object.
std::string WithMembers(std::string_view object, std::string_view before, std::string_view after);

// "?background=%23ffffff&child="; empty where there are no options.
std::string QueryOf(const Pairs& options);

}  // namespace qx::server

#endif  // QX_SERVER_ANSWER_H
