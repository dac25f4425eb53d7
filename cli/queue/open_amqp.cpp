#include "cli/queue/open_amqp.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "cli/wording.h"
#include "photo/base/text.h"
#include "queue/amqp/amqp_desk.h"
#include "queue/amqp/amqp_source.h"

namespace qx::cli {
namespace {

constexpr char kVariable[] = "IDPHOTO_QUEUE_PASSWORD";
constexpr size_t kMostPasswordBytes = 1024;

// Taken out of the environment, which processes that this one starts would get, and of the memory in which the system
// shows it to others.
std::string TakePasswordFromEnvironment() {
  char* value = std::getenv(kVariable);
  if (value == nullptr) return {};
  std::string password = value;
  explicit_bzero(value, password.size());
  unsetenv(kVariable);
  return password;
}

void WarnOfReaders(const std::string& file, const QueueLog& log) {
  struct stat status {};
  if (!log || stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return;
  if ((status.st_mode & (S_IRGRP | S_IROTH)) == 0) return;
  log("warning: other users of this computer can read the password in " + photo::Printable(file) +
      "; chmod 600 keeps it yours");
}

std::string PasswordFromFile(const std::string& file, const QueueLog& log) {
  const auto fail = [&](const std::string& why) {
    throw SetupFailure("--queue-password-file: " + photo::Printable(file) + why);
  };
  std::ifstream stream(file, std::ios::binary);
  std::string text(kMostPasswordBytes + 1, '\0');
  stream.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (stream.bad() || !stream.is_open()) fail(" cannot be read");
  text.resize(static_cast<size_t>(stream.gcount()));
  std::string password = text.substr(0, text.find('\n'));
  if (!password.empty() && password.back() == '\r') password.pop_back();
  if (password.empty() || password.size() > kMostPasswordBytes || password.find('\0') != std::string::npos) {
    fail(" has no password in its first line");
  }
  WarnOfReaders(file, log);
  return password;
}

std::string Password(const QueueOptions& options, const QueueLog& log) {
  const std::string fromEnvironment = TakePasswordFromEnvironment();
  if (!options.passwordFile.empty()) return PasswordFromFile(options.passwordFile, log);
  if (fromEnvironment.empty()) {
    throw SetupFailure(
        "--queue: the server wants a password: put it into a file of yours and name it with --queue-password-file, or "
        "into the environment as IDPHOTO_QUEUE_PASSWORD");
  }
  return fromEnvironment;
}

// Options that contradict each other, and what goes over a wire where everybody can read it.
void CheckEncryption(const QueueOptions& options, const queue::AmqpAddress& address, const QueueLog& log) {
  if (options.certFile.empty() != options.keyFile.empty()) {
    throw SetupFailure("--queue-cert and --queue-key go together");
  }
  if (!address.encrypted && !(options.caFile + options.certFile).empty()) {
    throw SetupFailure("--queue: amqp:// shows and looks at no certificates; write amqps://");
  }
  if (!address.encrypted && log && !std::all_of(address.hosts.begin(), address.hosts.end(), queue::IsLoopback)) {
    log("warning: with amqp:// others can read the password and the jobs on their way; amqps:// encrypts them");
  }
}

queue::AmqpSettings SettingsOf(const QueueOptions& options, const QueueLog& log) {
  queue::AmqpSettings settings;
  settings.address = queue::AmqpAddress::Parse(options.address);
  CheckEncryption(options, settings.address, log);
  settings.password = Password(options, log);
  settings.caFile = options.caFile;
  settings.certFile = options.certFile;
  settings.keyFile = options.keyFile;
  settings.log = log;
  return settings;
}

}  // namespace

std::unique_ptr<queue::JobSource> OpenAmqpSource(const QueueOptions& options, size_t jobs, const QueueLog& log) {
  queue::AmqpSettings settings = SettingsOf(options, log);
  settings.prefetch = options.prefetch > 0 ? options.prefetch : jobs + 1;
  return std::make_unique<queue::AmqpSource>(std::move(settings));
}

std::unique_ptr<queue::JobDesk> OpenAmqpDesk(const QueueOptions& options, const QueueLog& log) {
  return std::make_unique<queue::AmqpDesk>(SettingsOf(options, log));
}

}  // namespace qx::cli
