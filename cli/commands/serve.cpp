#include <spawn.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>

#include "cli/commands/commands.h"
#include "cli/wording.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "server/adapter/adapter.h"
#include "server/listener.h"
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
  bool open = false;
};

// Shows the page in the user's browser; without one, the address stands in the terminal.
void OpenInBrowser(const std::string& address) {
  std::string program = "xdg-open", argument = address;
  char* const arguments[] = {program.data(), argument.data(), nullptr};
  pid_t process = 0;
  posix_spawnp(&process, program.c_str(), nullptr, nullptr, arguments, environ);
}

void Serve(const ServeOptions& options) {
  server::GiveBackFreedMemory();
  server::Settings settings;
  settings.listen = options.listen;
  if (!options.tokenFile.empty()) settings.token = server::Token::FromFile(options.tokenFile);
  // Two more than work: one comes in while another goes out.
  settings.limits.slots = options.jobs + 2;
  settings.limits.bodyBytes = static_cast<uint64_t>(options.maxUpload) * kMegabyte;
  settings.log = [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); };
#ifdef QX_WITH_PAGE
  for (const web::PageFile& file : web::PageFiles()) {
    settings.files.push_back({file.path, file.type, file.etag, file.bytes, file.hashed});
  }
#endif
  server::ChildrenSettings children;
  children.count = options.jobs;
  children.log = settings.log;
  server::Service service(children);
  server::Adapter handler(&service, &service.Workers(), settings.limits);
  server::Listener listener(std::move(settings), &handler);
  std::printf("%s\n", listener.Address().c_str());
  std::fflush(stdout);
  if (options.open) OpenInBrowser(listener.Address());
  listener.Run(true);
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
      ->check(CLI::Range(1, 1000).description("1-1000"));
  command->add_option("--token-file", options->tokenFile, "File whose first line every request must bring")
      ->type_name("FILE");
  command->add_flag("--open", options->open, "Show the page in the browser");
  command->footer(
      "The first line on standard output is the address; a line for each answer goes to standard error. Nothing is\n"
      "stored on disk and nothing leaves the computer. Other computers can be let in with --listen 0.0.0.0:8080 and\n"
      "a token, which their requests bring as \"Authorization: Bearer TOKEN\". SIGTERM or an interrupt ends it: what\n"
      "was begun is finished within ten seconds.\n\n"
      "Exit status: 0 done, 2 not started (the reason is on standard error).\n\n"
      "Examples:\n"
      "  idphoto serve --open\n"
      "  idphoto serve --listen 0.0.0.0:8080 --token-file token.txt");
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
