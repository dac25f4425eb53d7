#include "test_worker.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

#include "codec/codec.h"
#include "codec/library.h"
#include "server/children/photo_worker.h"
#include "server/children/process.h"

namespace qx::server {
namespace {

ChildReply Told(const std::string& report) {
  ChildReply reply;
  reply.report = report;
  return reply;
}

// Every page is written, since what is only reserved need not be there.
void TakeMemory() {
  std::vector<std::unique_ptr<photo::Bytes>> taken;
  for (int i = 0; i < 4096; ++i) {
    taken.push_back(std::make_unique<photo::Bytes>(size_t{64} << 20));
    for (size_t at = 0; at < taken.back()->size(); at += 4096) (*taken.back())[at] = 1;
  }
}

class TestWorker final : public ChildWorker {
 public:
  explicit TestWorker(const ChildLimits& limits) : photographs_(MakePhotoWorker(limits)) {}

  ChildReply Answer(ChildRequest request) override {
    const std::string& command = request.command;
    if (command == "pid") return Told(std::to_string(getpid()));
    if (command == "sleep") std::this_thread::sleep_for(std::chrono::seconds(100));
    if (command == "abort") std::abort();
    if (command == "fork") return Told(std::to_string(fork()));
    if (command == "socket") return Told(std::to_string(socket(AF_INET, SOCK_STREAM, 0)));
    if (command == "open") return Told(std::to_string(open("/etc/passwd", O_RDONLY)));
    if (command == "execute") return Told(std::to_string(execl("/bin/true", "true", nullptr)));
    if (command == "memory") TakeMemory();
    if (command == "garble") return Told(std::to_string(write(kChildSocket, "garbled, and long enough", 24)));
    if (command != "echo") return photographs_->Answer(std::move(request));
    ChildReply reply;
    reply.report = request.options.empty() ? "" : request.options[0].second;
    reply.pictures.push_back({"echo.bin", "application/octet-stream", std::move(request.photo)});
    return reply;
  }
  void Rest() override { photographs_->Rest(); }

 private:
  std::unique_ptr<ChildWorker> photographs_;
};

}  // namespace

std::unique_ptr<ChildWorker> MakeTestWorker(const ChildLimits& limits) {
  return std::make_unique<TestWorker>(limits);
}

Waited::Waited(Children& children, ChildRequest request) {
  auto promise = std::make_shared<std::promise<ChildReply>>();
  reply_ = promise->get_future();
  number_ = children.Run(std::move(request), [promise](ChildReply reply) { promise->set_value(std::move(reply)); });
}

ChildReply Ask(Children& children, const std::string& command, const std::string& keptId) {
  return Waited(children, {command, {}, {}, {}, keptId}).Get();
}

bool Eventually(const std::function<bool()>& isSo) {
  for (int i = 0; i < 3000; ++i) {
    if (isSo()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

}  // namespace qx::server

int main(int argc, char** argv) {
  if (qx::server::IsChild(argc, argv)) return qx::server::RunChild(qx::server::MakeTestWorker);
  testing::InitGoogleTest(&argc, argv);
  const qx::codec::ImageLibrary images;
  qx::codec::StartLibrary();
  qx::codec::AddHeif();
  return RUN_ALL_TESTS();
}
