// The server: listens, lets in, and ends in good order.
#ifndef QX_SERVER_HTTP_LISTENER_H
#define QX_SERVER_HTTP_LISTENER_H

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "server/http/files.h"
#include "server/http/limits.h"
#include "server/http/message.h"
#include "server/http/token.h"

namespace qx::server {

struct Settings {
  // ADDRESS:PORT, where the address is one of numbers, in brackets for IPv6, or "localhost"; port 0 takes a free one.
  std::string listen = "127.0.0.1:0";
  std::vector<std::string> hosts;  // names to go by beside those of the address
  // Of pages of other sites that may ask too, such as "https://studio.example".
  std::vector<std::string> origins;
  std::optional<Token> token;  // has to be there unless the address is the computer's own
  Limits limits;
  std::vector<File> files;  // of the page
  // A line for each answer, without its end: no names of files, no options, no addresses of strangers. On the server's
  // thread, which must not wait there.
  std::function<void(const std::string&)> log;
};

class Core;

// Sockets are served by the one thread that calls Run; see Handler for the work.
class Listener {
 public:
  // Listens, so that clients may connect from now on. The handler must outlive it. Throws Failure (kBadOption): the
  // address cannot be read or listened on, or has no token where it needs one; an origin is none.
  Listener(Settings settings, Handler* handler);
  ~Listener();
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  // "http://127.0.0.1:8080/", with the port that was taken.
  std::string Address() const;

  // From now on, before Run too, SIGTERM and SIGINT stop it; a second one ends it at once.
  void StopAtSignals();
  // Serves until it is stopped: takes no more connections then, closes those that ask for nothing, finishes the others
  // and returns within limits.drain. Once.
  void Run();
  // For any thread.
  void Stop();

 private:
  std::shared_ptr<Core> core_;
};

// Uploads come and go by the ten megabytes. Given back to the system at once, they do not stay resident after a burst
// of them; for whole programs, before their first thread.
void GiveBackFreedMemory();

}  // namespace qx::server

#endif  // QX_SERVER_HTTP_LISTENER_H
