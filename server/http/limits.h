// How much one client may take, and how long.
#ifndef QX_SERVER_HTTP_LIMITS_H
#define QX_SERVER_HTTP_LIMITS_H

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace qx::server {

// All times are absolute, for a whole phase: a limit that starts again with every byte never ends for a client that
// sends a byte now and then.
struct Limits {
  uint32_t headBytes = 8 << 10;
  uint64_t bodyBytes = 32 << 20;
  std::chrono::milliseconds head{10'000};    // from the first wait for a request to the end of its head
  std::chrono::milliseconds body{15'000};    // and the time that its bytes may take
  std::chrono::milliseconds answer{15'000};  // the same
  uint64_t bytesPerSecond = 50'000;          // of the slowest client that is waited for
  // A slot is held by each photograph that is uploaded or worked on: there is never more in memory than slots times
  // bodyBytes. Who finds none free waits, unread, so that the kernel's window holds the client back.
  size_t slots = 4;
  size_t waiting = 128;
  std::chrono::milliseconds wait{30'000};
  std::chrono::seconds retryAfter{10};
  size_t connections = 256;
  // A refused client that still sends would see a reset in place of the answer: so much is read and dropped.
  uint64_t dropBytes = 64 << 20;
  std::chrono::milliseconds drop{2'000};
  // An accept fails at once, again and again, while file descriptors are short.
  std::chrono::milliseconds acceptPause{100};
  // From the request to stop to the end, whatever still runs; shortly before, those who still wait are told.
  std::chrono::milliseconds drain{9'000};
  // Of a form or a query.
  size_t parts = 64;
  size_t nameBytes = 64;
  size_t valueBytes = 4 << 10;
  size_t partHeadBytes = 2 << 10;
  size_t sheetPhotos = 16;
};

}  // namespace qx::server

#endif  // QX_SERVER_HTTP_LIMITS_H
