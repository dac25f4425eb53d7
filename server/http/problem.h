// Errors as problem documents (RFC 9457).
#ifndef QX_SERVER_HTTP_PROBLEM_H
#define QX_SERVER_HTTP_PROBLEM_H

#include <chrono>
#include <exception>
#include <stdexcept>
#include <string>

#include "photo/base/failure.h"
#include "server/http/message.h"

namespace qx::server {

// What is wrong with a request. `code` is a stable name for programs; the text is one line for people.
class Problem : public std::runtime_error {
 public:
  Problem(unsigned status, std::string code, const std::string& text, photo::FailureFields fields = {},
          Pairs headers = {})
      : std::runtime_error(text),
        status(status),
        code(std::move(code)),
        fields(std::move(fields)),
        headers(std::move(headers)) {}

  unsigned status;
  std::string code;
  photo::FailureFields fields;
  Pairs headers;
};

// 400 for an option, 413 for too many pixels, 415 for what is no picture, 422 for what is not possible with this
// photograph, 503 while memory is short, 500 for the rest.
unsigned StatusOf(photo::FailureCode code, const photo::FailureFields& fields = {});

// application/problem+json: type, title, status, detail, code, fields (a list of {name, value}, since a name may come
// more than once).
Response ProblemResponse(const Problem& problem);
// Of a Problem or a Failure; of any other exception 503 when memory ran out and else 500, without its text, which was
// not meant for strangers.
Response ProblemResponse(const std::exception& exception);
// 503 with Retry-After.
Response BusyResponse(std::chrono::seconds retryAfter, const std::string& text);

// "Not Found" for 404 and so on; empty for a status that the server does not use.
const char* ReasonPhrase(unsigned status);

}  // namespace qx::server

#endif  // QX_SERVER_HTTP_PROBLEM_H
