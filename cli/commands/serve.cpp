#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "cli/browser.h"
#include "cli/commands/commands.h"
#include "cli/line_log.h"
#include "cli/page_folder.h"
#include "cli/wording.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "server/adapter/adapter.h"
#include "server/children/confinement.h"
#include "server/children/frame.h"
#include "server/http/access.h"
#include "server/http/listener.h"
#include "server/service.h"
#ifdef QX_WITH_PAGE
#include "web/page.h"
#endif

namespace qx::cli {
namespace {

constexpr size_t kMaxJobs = 64;
constexpr int kMegabyte = 1'000'000;

struct ServeOptions {
  std::string listen = "127.0.0.1:8080";
  size_t jobs = std::clamp<size_t>(std::thread::hardware_concurrency(), 1, kMaxJobs);
  int maxUpload = 32;  // megabytes
  std::string tokenFile;
  std::vector<std::string> hosts, origins;
  std::string page;  // a folder; empty: the program's own
  bool open = false;
};

// The reason why the text names no computer, or nothing.
std::string NotAHost(const std::string& text) {
  constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789-.:";
  const std::string host = server::HostOf(text);
  if (!host.empty() && host.find_first_not_of(kLetters) == std::string::npos) return "";
  return "\"" + photo::Printable(text) + "\" is no name of a computer, such as photos.example.org";
}

void WarnOfReaders(const std::string& tokenFile, LineLog* log) {
  struct stat status {};
  if (stat(tokenFile.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || (status.st_mode & (S_IRGRP | S_IROTH)) == 0)
    return;
  log->Say("warning: other users of this computer can read the token in " + photo::Printable(tokenFile) +
           "; chmod 600 keeps it yours");
}

// Who lets others in counts on every wall that the manual names.
void CheckConfinement(const std::string& listen, bool hasToken, LineLog* log) {
  if (server::CanFilterCalls()) return;
  const std::string host = server::HostOf(listen);
  if (hasToken && host != "localhost" && host != "127.0.0.1" && host != "::1") {
    throw SetupFailure(
        "--listen: this program was built without libseccomp: a hostile photograph that takes over the process that "
        "reads it could do what you can; build it with libseccomp-dev, or listen on 127.0.0.1");
  }
  log->Say(
      "warning: built without libseccomp: processes that read photographs have limits of memory and time, but the "
      "system's calls are open to them");
}

server::Settings SettingsOf(const ServeOptions& options, const std::shared_ptr<LineLog>& log) {
  server::Settings settings;
  settings.listen = options.listen;
  settings.hosts = options.hosts;
  settings.origins = options.origins;
  if (!options.tokenFile.empty()) {
    settings.token = server::Token::FromFile(options.tokenFile);
    WarnOfReaders(options.tokenFile, log.get());
  }
  // Two more than work: one comes in while another goes out.
  settings.limits.slots = options.jobs + 2;
  settings.limits.bodyBytes = static_cast<uint64_t>(options.maxUpload) * kMegabyte;
  settings.log = [log](const std::string& line) { log->Say(line); };
  return settings;
}

// Point into the folder, if there is one.
std::vector<server::File> FilesOf(const std::optional<PageFolder>& folder) {
  if (folder) return folder->Files();
  std::vector<server::File> files;
#ifdef QX_WITH_PAGE
  for (const web::PageFile& file : web::PageFiles()) {
    files.push_back({file.path, file.type, file.etag, file.bytes, file.hashed});
  }
#endif
  return files;
}

void Serve(const ServeOptions& options) {
  server::GiveBackFreedMemory();
  const auto log = std::make_shared<LineLog>(STDERR_FILENO);
  server::Settings settings = SettingsOf(options, log);
  std::optional<PageFolder> page;
  if (!options.page.empty()) page.emplace(options.page);
  settings.files = FilesOf(page);
  CheckConfinement(options.listen, settings.token.has_value(), log.get());
  server::ChildrenSettings children;
  children.count = options.jobs;
  children.log = settings.log;
  server::Service service(children);
  server::Adapter handler(&service, &service.Workers(), settings.limits);
  server::Listener listener(std::move(settings), &handler);
  listener.StopAtSignals();  // before anybody knows that it runs
  std::printf("%s\n", listener.Address().c_str());
  std::fflush(stdout);
  if (options.open) OpenInBrowser(listener.Address());
  listener.Run();
}

}  // namespace

void AddServeCommand(CLI::App& app, int*) {
  auto options = std::make_shared<ServeOptions>();
  CLI::App* command = app.add_subcommand("serve", "Answer requests of a browser or of programs, by HTTP");
  command->add_option("--listen", options->listen, "Where to listen; default: 127.0.0.1:8080, port 0 takes a free one")
      ->type_name("ADDRESS:PORT");
  command->add_option("--jobs", options->jobs, "Photographs at once; default: one for each processor")
      ->type_name("N")
      ->check(CLI::Range(size_t{1}, kMaxJobs).description("1-64"));
  command->add_option("--max-upload", options->maxUpload, "Refuse larger files, in millions of bytes; default: 32")
      ->type_name("MB")
      ->check(CLI::Range(1, server::kMostMegabytes).description("1-" + std::to_string(server::kMostMegabytes)));
  command->add_option("--token-file", options->tokenFile, "File whose first line every request must bring")
      ->type_name("FILE");
  command
      ->add_option("--host", options->hosts,
                   "Answer to this name too, as a server in front is called; may be given several times")
      ->type_name("NAME")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->check(CLI::Validator(NotAHost, ""));
  command
      ->add_option("--cors", options->origins, "Let pages of this site send and read too; may be given several times")
      ->type_name("ORIGIN")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  command->add_option("--page", options->page, "Hand out the page of this folder in place of the program's own")
      ->type_name("DIR");
  command->add_flag("--open", options->open, "Show the page in the browser");
  command->footer(
      "The first line on standard output is the address; a line for each answer goes to standard error. Nothing is\n"
      "stored on disk and nothing leaves the computer. Other computers can be let in with --listen 0.0.0.0:8080 and\n"
      "a token, which their requests bring as \"Authorization: Bearer TOKEN\". SIGTERM or an interrupt ends it: what\n"
      "was begun is finished within ten seconds.\n\n"
      "Exit status: 0 done, 2 not started (the reason is on standard error).\n\n"
      "Examples:\n"
      "  idphoto serve --open\n"
      "  idphoto serve --listen 0.0.0.0:8080 --token-file token.txt\n"
      "  idphoto serve --cors https://studio.example\n"
      "  idphoto serve --page build/wasm/page --open");
  command->callback([options] {
    try {
      Serve(*options);
    } catch (const photo::Failure& failure) {
      const std::string option = failure.Word("option");
      throw SetupFailure((option.empty() ? "" : "--" + option + ": ") + Wording(failure));
    }
  });
}

}  // namespace qx::cli
