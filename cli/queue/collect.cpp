#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "cli/batch/joined_report.h"
#include "cli/batch/options_text.h"
#include "cli/exit_status.h"
#include "cli/platform/interrupt.h"
#include "cli/progress.h"
#include "cli/queue/collected_report.h"
#include "cli/queue/commands.h"
#include "cli/queue/open_queue.h"
#include "cli/queue/patience.h"
#include "cli/wording.h"
#include "photo/base/text.h"

namespace qx::cli {
namespace {

struct CollectOptions {
  QueueOptions queue;
  std::string report;
  uint64_t expect = 0;  // 0: as many as there are
  bool wait = false;
};

// Thrown through the desk, so that what was handed over is not forgotten.
struct Interruption {};

class Collector {
 public:
  explicit Collector(const CollectOptions& options)
      : options_(options),
        progress_(options.wait ? 2 : options.expect),
        watch_({SIGINT, SIGTERM}, "keeping the answer at hand"),
        patience_(&watch_, [this](const std::string& line) { progress_.Error(line); }),
        desk_(OpenDesk(options.queue, [this](const std::string& line) { progress_.Error(line); })),
        report_(options.report),
        before_(report_.Photographs()) {
    if (options.wait && !patience_.Try([&] { return desk_->Count(); }).value_or(queue::SourceCounts()).knowsOthers) {
      throw SetupFailure("--wait: this queue does not tell what workers have in hand; say how many with --expect");
    }
  }

  // Whether all that was waited for has come.
  bool Run() {
    bool isAll = false;
    if (options_.expect > before_) progress_.SetTotal(options_.expect - before_);
    try {
      while (!watch_.Interrupted() && !isAll) {
        const size_t count = Gather();
        isAll = HasAll(count);
        if (!isAll && count == 0) patience_.Sleep(kLook);
      }
    } catch (const Interruption&) {
    } catch (const queue::SourceFailure& failure) {
      progress_.Error(failure.what());
    }
    return isAll;
  }

  // Says what the report says; how many of its photographs failed.
  size_t Close() {
    const JoinedReport report = CountReport(options_.report);
    progress_.Close(report.Summary());
    return report.Failed();
  }

 private:
  static constexpr std::chrono::milliseconds kLook{200};

  size_t Gather() {
    const auto unreadable = [this](const std::string& why) {
      if (told_.insert(why).second) progress_.Error(why);
    };
    const auto count = patience_.Try([&] {
      return desk_->Collect({[this](const queue::Answer& answer) { Take(answer); },
                             [this](const queue::Dead& dead) { Take(dead); }, unreadable});
    });
    return count.value_or(0);
  }

  // After that many came at the last look.
  bool HasAll(size_t count) {
    if (options_.expect > 0) return report_.Photographs() >= options_.expect;
    if (!options_.wait) return count == 0;
    const auto left = patience_.Try([&] { return desk_->Count(); });
    if (!left) return false;
    progress_.SetTotal(report_.Photographs() - before_ + left->waiting + left->claimed);
    // What is answered between two looks is in neither.
    const bool isQuiet = count == 0 && left->waiting + left->claimed == 0;
    quiet_ = isQuiet ? quiet_ + 1 : 0;
    return quiet_ >= kQuietLooks;
  }

  void Take(const queue::Answer& answer) {
    BatchOutcome outcome{answer.done, answer.message, answer.reasons, answer.measures, answer.seconds};
    Keep({answer.photograph, answer.output}, outcome, answer.options);
  }

  void Take(const queue::Dead& dead) {
    BatchOutcome outcome;
    const std::string tries = dead.tries == 1 ? "1 try" : std::to_string(dead.tries) + " tries";
    outcome.message = "given up after " + tries + ": " + dead.reason;
    outcome.reasons = {"gave_up"};
    if (dead.jobs.empty()) return Keep({"job " + dead.id, ""}, outcome, OptionsText({}));
    const queue::Job& job = dead.jobs.front();
    Keep({job.photograph, job.output}, outcome, OptionsText(job.options));
  }

  void Keep(const BatchItem& item, const BatchOutcome& outcome, const std::string& options) {
    if (watch_.Interrupted()) throw Interruption();
    const std::string name = photo::Printable(item.input.native());
    if (!report_.Add(item, outcome, options)) return;
    progress_.Begin(std::max(report_.Photographs() - before_, size_t{1}) - 1, name);
    if (!outcome.done) return progress_.Error(name + ": " + outcome.message);
    const std::string note = outcome.message.empty() ? "" : " (" + outcome.message + ")";
    progress_.Outcome(name + ": " + photo::Printable(item.output.native()) + note);
  }

  static constexpr int kQuietLooks = 2;

  const CollectOptions& options_;
  Progress progress_;
  const InterruptWatch watch_;
  Patience patience_;
  const std::unique_ptr<queue::JobDesk> desk_;
  CollectedReport report_;
  const size_t before_;  // of how many photographs earlier runs told
  std::set<std::string> told_;
  int quiet_ = 0;
};

int Collect(const CollectOptions& options) {
  Collector collector(options);
  const bool isAll = collector.Run();
  const size_t failed = collector.Close();
  return isAll && failed == 0 ? kDone : kSomeFailed;
}

}  // namespace

void AddCollectCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<CollectOptions>();
  CLI::App* command = app.add_subcommand("collect", "Gather what became of a queue's jobs into a report");
  AddQueueOptions(*command, &options->queue);
  command
      ->add_option("--report", options->report,
                   "File of JSON lines, as batch writes it; goes on with one that is there")
      ->type_name("FILE")
      ->required();
  CLI::Option* wait =
      command->add_flag("--wait", options->wait, "Wait until the queue has nothing left; a folder alone");
  command->add_option("--expect", options->expect, "Wait until the report tells of so many photographs")
      ->type_name("N")
      ->check(CLI::Range(uint64_t{1}, uint64_t{1'000'000'000}).description(""))
      ->excludes(wait);
  command->footer(
      "Without --wait and --expect what is there is gathered. The report has the lines that idphoto batch writes, "
      "with\n"
      "absolute names; a job that was given up has the reason gave_up. A line is on the disk before its answer is\n"
      "forgotten, so this may end at any time: go on with the same report. What comes twice is left out.\n\n"
      "Exit status: 0 all photographs of the report were made, 1 some failed or were not waited for, 2 nothing was\n"
      "tried.\n\n"
      "Example:\n"
      "  idphoto collect --queue folder:/srv/queue --report passports/report.jsonl --wait");
  command->callback([options, status] { *status = Collect(*options); });
}

}  // namespace qx::cli
