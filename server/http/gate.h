// What is decided from a request's head alone, before a byte of its body is read, and what needs no handler.
#ifndef QX_SERVER_HTTP_GATE_H
#define QX_SERVER_HTTP_GATE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/http/access.h"
#include "server/http/files.h"
#include "server/http/limits.h"
#include "server/http/message.h"
#include "server/http/token.h"

namespace qx::server {

// The head as it came, its framing already found to be sound.
struct Head {
  std::string method, target;
  unsigned version = 11;  // 10 for HTTP/1.0
  Pairs headers;
  std::optional<uint64_t> length;  // Content-Length
  bool chunked = false;

  // The value of the header, empty where there is none. Throws Problem (400) where it comes twice.
  std::string_view Only(std::string_view name) const;
};

// A request that was let in.
struct Visit {
  Request request;
  bool headOnly = false;   // HEAD
  bool takesSlot = false;  // see TakesSlot
  bool hasBody = false;
  bool wantsContinue = false;  // the client waits for "100 Continue" before it sends the body
  std::string boundary;        // of a form; else empty
  std::string ifNoneMatch;
  std::string origin;           // the page that asks, where that is one of `origins`; else empty
  bool asksForPrivate = false;  // of a preflight: the page comes from further away than this server
  bool acceptsGzip = false;
};

class Gate {
 public:
  // Pages of `origins`, each as OriginOf gives it, may send and read beside our own.
  Gate(HostList hosts, std::optional<Token> token, std::vector<File> files, const Limits& limits,
       std::vector<std::string> origins = {})
      : hosts_(std::move(hosts)),
        token_(std::move(token)),
        files_(std::move(files)),
        limits_(limits),
        origins_(std::move(origins)) {}

  // Throws Problem for whatever is not let in: 400, 401, 403, 404, 405, 413, 415, 417, 421, 501. The visit then knows
  // as much as had been read: what a log says of it.
  void Admit(const Head& head, Visit* visit) const;
  // Puts the body into the visit's request. Throws Problem (400).
  void TakeBody(Bytes body, Visit* visit) const;
  // The answer to OPTIONS and for a file of the page; nothing where a handler or the server's state is asked.
  std::optional<Response> Answer(const Visit& visit) const;
  // What an answer, whatever it is, says to pages of other origins (Fetch standard, section 3.3): nothing unless there
  // are any that may ask. Never lets them use what the browser knows of its user.
  void AddOriginHeaders(const Visit& visit, Response* response) const;

 private:
  const File* FindFile(const std::string& path) const;
  void NoteOrigin(const Head& head, Visit* visit) const;
  void CheckSender(const Head& head, const std::string& targetAuthority, const Visit& visit) const;
  void CheckBody(const Head& head, const Route& route, Visit* visit) const;

  HostList hosts_;
  std::optional<Token> token_;
  std::vector<File> files_;
  Limits limits_;
  std::vector<std::string> origins_;
};

// Adds what every answer has: no sniffing, no referrer, no frames, nothing from elsewhere in the page, and no-store
// unless the response says how it may be kept. Headers that could break a line go.
void AddStandardHeaders(Response* response);

// Reads an Accept; what cannot be read in it counts for nothing.
Wanted WantedBy(std::string_view accept);

}  // namespace qx::server

#endif  // QX_SERVER_HTTP_GATE_H
