#include "cli/queue/open_queue.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <stdexcept>
#include <string_view>

#include "cli/wording.h"
#include "photo/base/text.h"
#include "queue/folder_desk.h"
#include "queue/folder_source.h"
#ifdef QX_WITH_AMQP
#include "cli/queue/open_amqp.h"
#endif

namespace qx::cli {
namespace fs = std::filesystem;
namespace {

constexpr std::string_view kFolder = "folder:", kServer = "amqp://", kSecureServer = "amqps://";

bool Begins(std::string_view text, std::string_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

bool IsServerQueue(const QueueOptions& options) {
  return Begins(options.address, kServer) || Begins(options.address, kSecureServer);
}

// A password there would be seen by everybody who lists the processes, and stand in logs: so the text does not repeat
// the address either.
void RefusePassword(const std::string& address) {
  const size_t host = address.find("//");
  const std::string_view authority = std::string_view(address).substr(host + 2, address.find('/', host + 2) - host - 2);
  const size_t at = authority.rfind('@');
  if (at == std::string_view::npos || authority.substr(0, at).find(':') == std::string_view::npos) return;
  throw SetupFailure(
      "--queue: the address has a password in it, which other users could see; put it into a file of yours and name it "
      "with --queue-password-file, or into the environment as IDPHOTO_QUEUE_PASSWORD");
}

fs::path FolderOf(const QueueOptions& options) {
  const std::string path = options.address.substr(kFolder.size());
  if (path.empty()) throw SetupFailure("--queue: folder: wants the folder's name behind it, as in folder:/srv/photos");
  for (const std::string& text : {options.passwordFile, options.caFile, options.certFile, options.keyFile}) {
    if (!text.empty()) throw SetupFailure("--queue: a folder asks for no password and shows no certificate");
  }
  return fs::absolute(path);
}

// One with a user's name in it may have a password in it too.
[[noreturn]] void RefuseAddress(const std::string& address) {
  const std::string named = address.find('@') == std::string::npos ? "\"" + photo::Printable(address) + "\"" : "this";
  throw SetupFailure("--queue: " + named + " is no queue; one is folder:PATH or amqps://USER@HOST/VHOST");
}

// Failures at the start: nothing was tried yet.
template <typename Open>
auto Opened(Open open) {
  try {
    return open();
  } catch (const SetupFailure&) {
    throw;
  } catch (const std::runtime_error& failure) {
    throw SetupFailure(std::string("--queue: ") + failure.what());
  }
}

}  // namespace

void AddQueueOptions(CLI::App& command, QueueOptions* options) {
  command.add_option("--queue", options->address, "folder:PATH, or amqps://USER@HOST/VHOST for RabbitMQ")
      ->type_name("ADDRESS");
  command
      .add_option("--queue-password-file", options->passwordFile,
                  "File whose first line is the user's password; default: IDPHOTO_QUEUE_PASSWORD of the environment")
      ->type_name("FILE");
  command.add_option("--queue-ca", options->caFile, "Certificates that may vouch for the server, PEM")
      ->type_name("FILE");
  command.add_option("--queue-cert", options->certFile, "Certificate to show the server, PEM")->type_name("FILE");
  command.add_option("--queue-key", options->keyFile, "Its key, PEM")->type_name("FILE");
}

bool IsFolderQueue(const QueueOptions& options) {
  return Begins(options.address, kFolder);
}

void CheckQueueAddress(const QueueOptions& options) {
  if (options.address.empty()) throw SetupFailure("--queue is required");
  if (IsFolderQueue(options)) return;
  if (!IsServerQueue(options)) RefuseAddress(options.address);
  RefusePassword(options.address);
#ifndef QX_WITH_AMQP
  throw SetupFailure("--queue: this program was built without RabbitMQ; take a folder, as in folder:/srv/photos");
#endif
}

std::unique_ptr<queue::JobSource> OpenSource(const QueueOptions& options, [[maybe_unused]] size_t jobs,
                                             [[maybe_unused]] const QueueLog& log) {
  CheckQueueAddress(options);
  return Opened([&]() -> std::unique_ptr<queue::JobSource> {
#ifdef QX_WITH_AMQP
    if (IsServerQueue(options)) return OpenAmqpSource(options, jobs, log);
#endif
    queue::FolderSettings settings;
    settings.path = FolderOf(options);
    return std::make_unique<queue::FolderSource>(std::move(settings));
  });
}

std::unique_ptr<queue::JobDesk> OpenDesk(const QueueOptions& options, [[maybe_unused]] const QueueLog& log) {
  CheckQueueAddress(options);
  return Opened([&]() -> std::unique_ptr<queue::JobDesk> {
#ifdef QX_WITH_AMQP
    if (IsServerQueue(options)) return OpenAmqpDesk(options, log);
#endif
    return std::make_unique<queue::FolderDesk>(FolderOf(options));
  });
}

}  // namespace qx::cli
