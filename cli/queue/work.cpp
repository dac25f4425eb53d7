#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "cli/batch/options_text.h"
#include "cli/batch/reasons.h"
#include "cli/exit_status.h"
#include "cli/line_log.h"
#include "cli/platform/interrupt.h"
#include "cli/queue/commands.h"
#include "cli/queue/config_file.h"
#include "cli/queue/open_queue.h"
#include "cli/wording.h"
#include "orders/order.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "server/children/confinement.h"
#include "server/children/frame.h"
#include "server/http/listener.h"
#include "worker/worker.h"

namespace qx::cli {
namespace fs = std::filesystem;
namespace {

constexpr size_t kMaxJobs = 64;
constexpr uint64_t kMillion = 1'000'000;

struct WorkOptions {
  QueueOptions queue;
  size_t jobs = std::clamp<size_t>(std::thread::hardware_concurrency(), 1, kMaxJobs);
  std::string config, metrics;
  bool drain = false;
  std::vector<std::string> readFrom, writeTo;
  uint64_t maxMegapixels = 50, maxFile = 32;
  int timeout = 60;  // seconds
};

bool IsAddress(const std::string& text) {
  return text.find("://") != std::string::npos;
}

void AddPlace(const std::string& option, const std::string& text, worker::Places* places) {
  const auto fail = [&](const std::string& why) { throw SetupFailure(option + ": " + photo::Printable(text) + why); };
  if (IsAddress(text)) {
    auto address = worker::ParseWebAddress(text);
    if (!address || address->hasQuery) fail(" is no address; one is https://HOST/PATH/");
    return places->AddAddress(std::move(*address));
  }
  std::error_code error;
  const fs::path folder = fs::canonical(text, error);
  if (error) fail(" is no folder that can be reached (" + error.message() + ")");
  if (!fs::is_directory(folder, error)) fail(" is not a folder");
  places->AddFolder(folder.native());
}

// Who can write into a folder of jobs can write elsewhere on the computer too; a server's users need not be such.
worker::Places PlacesOf(const std::string& option, std::vector<std::string> texts, const QueueOptions& queue) {
  if (texts.empty() && !IsFolderQueue(queue)) {
    throw SetupFailure(option + " is required with this queue: jobs must not lead this worker to any file they like");
  }
  if (texts.empty()) texts = {"/"};
  worker::Places places;
  for (const std::string& text : texts) AddPlace(option, text, &places);
  return places;
}

worker::WorkerSettings SettingsOf(const WorkOptions& options, const std::shared_ptr<LineLog>& log) {
  worker::WorkerSettings settings;
  settings.jobs = options.jobs;
  settings.inHand = options.queue.prefetch > 0 ? options.queue.prefetch : options.jobs + 1;
  settings.time = std::chrono::seconds(options.timeout);
  settings.fileBytes = options.maxFile * kMillion;
  settings.pixels = options.maxMegapixels * kMillion;
  settings.readFrom = PlacesOf("--read-from", options.readFrom, options.queue);
  for (const std::string& text : options.writeTo) {
    if (IsAddress(text)) throw SetupFailure("--write-to: " + photo::Printable(text) + " is no folder");
  }
  settings.writeTo = PlacesOf("--write-to", options.writeTo, options.queue);
  settings.drain = options.drain;
  settings.words = [](const photo::Failure& failure) { return worker::Words{Wording(failure), ReasonNames(failure)}; };
  settings.optionsText = [](const queue::Job& job) { return OptionsText(job.options); };
  settings.log = [log](const std::string& line) { log->Say(line); };
  return settings;
}

// What /metrics and /readyz ask for.
class MetricsHandler final : public server::Handler {
 public:
  explicit MetricsHandler(const worker::Worker* worker) : worker_(*worker) {}

  void Handle(server::Request, std::function<void(server::Response)> reply) override {
    reply(server::TextResponse(404, "text/plain; charset=utf-8", "a worker shows /metrics, /healthz and /readyz\n"));
  }
  bool Ready() const override { return worker_.Reaches(); }
  std::string Version() const override { return orders::ProgramVersion(); }
  std::string Metrics() const override { return worker_.Metrics(); }

 private:
  const worker::Worker& worker_;
};

// Serves them from a thread of its own.
class MetricsServer {
 public:
  MetricsServer(const std::string& address, const worker::Worker* worker, LineLog* log)
      : handler_(worker), listener_(SettingsFor(address), &handler_), thread_([this] { listener_.Run(); }) {
    log->Say("metrics at " + listener_.Address() + "metrics");
  }
  ~MetricsServer() {
    listener_.Stop();
    thread_.join();
  }
  MetricsServer(const MetricsServer&) = delete;
  MetricsServer& operator=(const MetricsServer&) = delete;

 private:
  static server::Settings SettingsFor(const std::string& address) {
    server::Settings settings;
    settings.listen = address;
    settings.limits.drain = std::chrono::seconds(1);
    return settings;
  }

  MetricsHandler handler_;
  server::Listener listener_;
  std::thread thread_;
};

std::unique_ptr<MetricsServer> ServeMetrics(const std::string& address, const worker::Worker* worker, LineLog* log) {
  if (address.empty()) return nullptr;
  try {
    return std::make_unique<MetricsServer>(address, worker, log);
  } catch (const photo::Failure& failure) {
    throw SetupFailure("--metrics: " + Wording(failure));
  }
}

// Stops the worker at a signal.
class StopAtSignals {
 public:
  explicit StopAtSignals(worker::Worker* worker) : thread_([this, worker] { Look(worker); }) {}
  ~StopAtSignals() {
    isOver_ = true;
    thread_.join();
  }
  StopAtSignals(const StopAtSignals&) = delete;
  StopAtSignals& operator=(const StopAtSignals&) = delete;

 private:
  void Look(worker::Worker* worker) {
    constexpr std::chrono::milliseconds kLook{50};
    while (!isOver_ && !watch_.Interrupted()) std::this_thread::sleep_for(kLook);
    if (!isOver_) worker->Stop();
  }

  const InterruptWatch watch_{{SIGINT, SIGTERM}};
  std::atomic<bool> isOver_{false};
  std::thread thread_;
};

int Work(const WorkOptions& options) {
  server::GiveBackFreedMemory();
  // A write beyond a limit of the system's, or to a reader that has gone, fails; it is no reason to end.
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
  CheckQueueAddress(options.queue);
  const auto log = std::make_shared<LineLog>(STDERR_FILENO);
  worker::WorkerSettings settings = SettingsOf(options, log);
  QueueOptions queue = options.queue;
  queue.prefetch = settings.inHand;
  if (!server::CanFilterCalls()) {
    log->Say(
        "warning: built without libseccomp: processes that read photographs have limits of memory and time, but the "
        "system's calls are open to them");
  }
  const std::unique_ptr<queue::JobSource> source = OpenSource(queue, options.jobs, settings.log);
  worker::Worker worker(std::move(settings), source.get());
  const StopAtSignals stop(&worker);
  const std::unique_ptr<MetricsServer> metrics = ServeMetrics(options.metrics, &worker, log.get());
  return worker.Run() ? kDone : kSomeFailed;
}

void AddLimits(CLI::App& command, WorkOptions* options) {
  command.add_option("--jobs", options->jobs, "Photographs at once; default: one for each processor")
      ->type_name("N")
      ->check(CLI::Range(size_t{1}, kMaxJobs).description("1-64"));
  command
      .add_option("--prefetch", options->queue.prefetch,
                  "Jobs to hold at once, so that the next photograph is there in time; default: one more than --jobs")
      ->type_name("N")
      ->check(CLI::Range(size_t{1}, 4 * kMaxJobs).description("1-256"));
  command
      .add_option("--timeout", options->timeout, "Give up a try that takes longer, to fetch or to make; default: 60")
      ->type_name("SECONDS")
      ->check(CLI::Range(1, 3600).description("1-3600"));
  command.add_option("--max-file", options->maxFile, "Refuse larger files, in millions of bytes; default: 32")
      ->type_name("MB")
      ->check(CLI::Range(1, server::kMostMegabytes).description("1-" + std::to_string(server::kMostMegabytes)));
  command
      .add_option("--max-megapixels", options->maxMegapixels,
                  "Refuse larger photographs before decoding them; default: 50")
      ->type_name("N")
      ->check(CLI::Range(1, 1000).description("1-1000"));
}

void AddPlaces(CLI::App& command, WorkOptions* options) {
  command
      .add_option("--read-from", options->readFrom,
                  "Read photographs below this folder or address; may be given several times")
      ->type_name("PREFIX")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  command.add_option("--write-to", options->writeTo, "Write below this folder; may be given several times")
      ->type_name("DIR")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

}  // namespace

void AddWorkCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<WorkOptions>();
  CLI::App* command = app.add_subcommand("work", "Do the jobs of a queue, on one of many machines");
  AddQueueOptions(*command, &options->queue);
  AddLimits(*command, options.get());
  AddPlaces(*command, options.get());
  command->add_flag("--drain", options->drain,
                    "End when nothing waits and, in a folder, nothing is in anybody's hands");
  command->add_option("--metrics", options->metrics, "Show counts for Prometheus there, at /metrics")
      ->type_name("ADDRESS:PORT");
  command->add_option("--config", options->config, "File with more of these options, a line for each: jobs = 4")
      ->type_name("FILE")
      ->configurable(false);
  command->footer(
      "Jobs come from idphoto submit, answers go to idphoto collect. Any number of workers may share a queue. Each\n"
      "photograph is read and made by a process of its own that may do little else; one that dies, takes too long or\n"
      "meets a full disk counts as a try, and after three the job is buried with the reason. A photograph that cannot\n"
      "be made is an answer. A job that is done twice gives the same bytes.\n\n"
      "SIGTERM or an interrupt (Ctrl-C) has the worker finish what it makes, return the rest and end; a second one\n"
      "ends it at once, and others take its jobs up again. Lines on what becomes of jobs go to standard error.\n\n"
      "Exit status: 0 ended as asked, 1 the queue could not be told the end of some job, 2 not started.\n\n"
      "Examples:\n"
      "  idphoto work --queue folder:/srv/queue --drain\n"
      "  idphoto work --queue amqps://worker@queue.example/photos --read-from /srv/in --write-to /srv/out");
  command->callback([options, command, status] {
    if (!options->config.empty()) ReadConfigFile(*command, options->config);
    *status = Work(*options);
  });
}

}  // namespace qx::cli
