#include "server/children/child.h"

#include <malloc.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

#include "server/children/confinement.h"
#include "server/children/frame.h"
#include "server/children/process.h"

namespace qx::server {
namespace {

[[noreturn]] void Fail() {
  throw std::system_error(errno, std::generic_category(), "the connection to the server");
}

// The child's end of the connection.
class Connection {
 public:
  // The next frame, or nothing when the server has closed the connection. Calls `rest` while it waits.
  std::optional<Frame> Next(const std::function<void()>& rest) {
    for (bool isFirst = true;; isFirst = false) {
      if (!WaitFor(isFirst ? 1 : 20)) {
        if (reader_.IsEmpty()) rest();
        continue;
      }
      const FrameReader::Space space = reader_.Room();
      const ssize_t count = read(kChildSocket, space.data, space.size);
      if (count == 0) return std::nullopt;
      if (count < 0 && errno != EINTR) Fail();
      if (count > 0 && reader_.Added(static_cast<size_t>(count))) return reader_.Take();
    }
  }

  void Send(Frame frame) {
    FrameWriter writer(std::move(frame));
    while (!writer.IsDone()) {
      const FrameWriter::Piece piece = writer.Rest();
      const ssize_t count = write(kChildSocket, piece.data, piece.size);
      if (count < 0 && errno != EINTR) Fail();
      if (count > 0) writer.Sent(static_cast<size_t>(count));
    }
  }

 private:
  static bool WaitFor(int seconds) {
    pollfd wanted{kChildSocket, POLLIN, 0};
    return poll(&wanted, 1, seconds * 1000) > 0;
  }

  FrameReader reader_;
};

ChildReply AnswerOf(ChildWorker& worker, ChildRequest request) {
  try {
    return worker.Answer(std::move(request));
  } catch (const std::exception& exception) {
    // What was not foreseen is told to who runs the server, nobody else.
    const bool isForeseen =
        dynamic_cast<const photo::Failure*>(&exception) || dynamic_cast<const std::bad_alloc*>(&exception);
    if (!isForeseen) std::fprintf(stderr, "error: %s\n", exception.what());
    return FailureReply(exception);
  }
}

void Serve(Connection& connection, ChildWorker& worker) {
  // While there is nothing to do, what the last photograph took goes back to the system.
  const auto rest = [&worker] {
    worker.Rest();
    malloc_trim(0);
  };
  while (std::optional<Frame> frame = connection.Next(rest)) {
    NumberedRequest next = RequestOf(std::move(*frame));
    frame.reset();
    connection.Send(ToFrame(next.number, AnswerOf(worker, std::move(next.request))));
  }
}

}  // namespace

bool IsChild(int argc, char** argv) {
  if (argc != 2 || std::strcmp(argv[1], kChildArgument) != 0) return false;
  ucred server{};
  socklen_t size = sizeof server;
  return getsockopt(kChildSocket, SOL_SOCKET, SO_PEERCRED, &server, &size) == 0 && server.pid == getppid();
}

int RunChild(const MakeWorker& makeWorker) {
  try {
    CutLoose();
    Connection connection;
    const std::optional<Frame> first = connection.Next([] {});
    if (!first) return 0;
    const ChildLimits limits = LimitsOf(*first);
    const std::unique_ptr<ChildWorker> worker = makeWorker(limits);
    Confine(limits);
    connection.Send(ReadyFrame());
    Serve(connection, *worker);
    return 0;
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "%s\n", exception.what());
    return 3;
  }
}

}  // namespace qx::server
