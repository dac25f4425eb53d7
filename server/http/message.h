// What passes between the sockets and those who answer.
#ifndef QX_SERVER_HTTP_MESSAGE_H
#define QX_SERVER_HTTP_MESSAGE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "server/http/router.h"

namespace qx::server {

using Bytes = std::vector<uint8_t>;
// Names may come twice, and stand in the order in which they came.
using Pairs = std::vector<std::pair<std::string, std::string>>;

// What a client would rather have, by its Accept (RFC 9110, section 12.5.1).
struct Wanted {
  bool json = false;     // JSON is named, and no picture at least as much
  bool picture = false;  // a picture is named, and JSON no more than it
  bool zip = false;      // ZIP is named, and neither of them at least as much
  std::string format;    // png, jpg or tiff: the kind of picture wanted more than the other two; else empty
};

struct Request {
  std::string method;       // GET, POST or DELETE; a HEAD comes as GET
  Route route;              // what was asked for
  Pairs options;            // of the query, then of the form
  Bytes photo;              // the body, or the form's file of that name; empty where there was none
  Bytes mask;               // the form's file of that name
  std::string photoName;    // the form's name of the photograph, without folders; may be empty. Not for logs
  std::string contentType;  // of the photograph, as the client says; not to be relied on
  bool wantsJson = false;   // wanted.json: rather the report than the picture
  Wanted wanted;
  std::string ifNoneMatch;  // as it came
  // Of a form for a sheet that has several photographs: those after `photo`, and of all in turn how many copies, in
  // digits; "0": as many as there is room for, "": as the options say.
  std::vector<Bytes> morePhotos;
  std::vector<std::string> copies;
  // Whether nobody waits for the answer any more. For any thread; never null.
  std::function<bool()> abandoned;
};

struct Response {
  unsigned status = 200;
  Pairs headers;  // without lengths, which are the connection's own; Cache-Control where no-store is not meant
  Bytes body;
  // Sent in place of `body` unless empty: bytes that live as long as the program.
  std::string_view still;
  // Goes with the response, once it is sent or nobody waits for it; may be null.
  std::shared_ptr<void> held = nullptr;

  size_t Size() const { return still.empty() ? body.size() : still.size(); }
};

// A response with a text of this type.
Response TextResponse(unsigned status, std::string_view type, std::string_view text);

// Answers what the server does not answer itself.
class Handler {
 public:
  virtual ~Handler() = default;
  // Called by the server's only thread, which must not wait here. `reply` may be called by any thread, now or later;
  // the first call counts. When all its copies go without one, the answer is 500. A Failure that is thrown is answered
  // as such. The handler sets its own limit of time.
  virtual void Handle(Request request, std::function<void(Response)> reply) = 0;
  // Whether it can take work: /readyz.
  virtual bool Ready() const { return true; }
  // "0.2.0", for /healthz; empty: not told.
  virtual std::string Version() const { return ""; }
  // Lines to add to /metrics, each with its end.
  virtual std::string Metrics() const { return ""; }
};

}  // namespace qx::server

#endif  // QX_SERVER_HTTP_MESSAGE_H
