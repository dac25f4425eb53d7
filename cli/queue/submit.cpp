#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "cli/batch/options_text.h"
#include "cli/exit_status.h"
#include "cli/output_file.h"
#include "cli/platform/interrupt.h"
#include "cli/progress.h"
#include "cli/queue/commands.h"
#include "cli/queue/open_queue.h"
#include "cli/queue/patience.h"
#include "cli/queue/wishes.h"
#include "cli/wording.h"
#include "orders/make.h"
#include "orders/options/common_options.h"
#include "orders/options/document_options.h"
#include "photo/base/text.h"

namespace qx::cli {
namespace fs = std::filesystem;
namespace {

struct SubmitOptions {
  QueueOptions queue;
  WishSource source;
  // Only to be known as options, and explained; what is given goes into the jobs.
  orders::MakeOrder order;
  codec::ImageFormat format = codec::ImageFormat::kJpeg;
};

// What became of the wishes.
struct Handed {
  size_t in = 0, already = 0, failed = 0;

  std::string Text(size_t all) const {
    std::string text = photo::Count(in, "job") + " handed in";
    if (already > 0) text += ", " + std::to_string(already) + " already there";
    if (failed > 0) text += ", " + std::to_string(failed) + " failed";
    if (all > in + already + failed) text += ", " + std::to_string(all - in - already - failed) + " not handed in";
    return text + "\n";
  }
};

void HandIn(const Wish& wish, queue::JobDesk* desk, Patience* patience, Progress* progress, Handed* handed) {
  try {
    const queue::Job job = JobOf(wish);
    const auto isNew = patience->Try([&] { return desk->Submit(job); });
    if (isNew) ++(*isNew ? handed->in : handed->already);
  } catch (const queue::SourceFailure&) {
    throw;
  } catch (const std::exception& exception) {
    ++handed->failed;
    progress->Error(photo::Printable(wish.photograph) + ": " + Wording(exception));
  }
}

int Submit(SubmitOptions& options) {
  const WishSource& source = options.source;
  if (source.photographs.empty() && source.list.empty() && source.lines.empty()) {
    throw SetupFailure("photographs are required: name them, or a file with --list or --jsonl");
  }
  if (source.list == "-" && source.lines == "-") throw SetupFailure("--list and --jsonl cannot both be standard input");
  const std::vector<Wish> wishes = ReadWishes(options.source);
  std::set<fs::path> folders;
  for (const Wish& wish : wishes) folders.insert(fs::path(wish.output).parent_path());
  for (const fs::path& folder : folders) PrepareOutputFolder(folder);

  Progress progress(wishes.size());
  const auto say = [&progress](const std::string& line) { progress.Error(line); };
  const std::unique_ptr<queue::JobDesk> desk = OpenDesk(options.queue, say);
  const InterruptWatch watch({SIGINT, SIGTERM}, "handing in the photograph at hand");
  Patience patience(&watch, say);
  Handed handed;
  bool isReached = true;
  try {
    for (size_t i = 0; i < wishes.size() && !watch.Interrupted(); ++i) {
      progress.Begin(i, photo::Printable(wishes[i].photograph));
      HandIn(wishes[i], desk.get(), &patience, &progress, &handed);
    }
  } catch (const queue::SourceFailure& failure) {
    isReached = false;
    progress.Error(failure.what());
  }
  progress.Close(handed.Text(wishes.size()));
  const bool isAll = handed.in + handed.already == wishes.size();
  return isReached && isAll ? kDone : kSomeFailed;
}

void AddWishes(CLI::App& command, SubmitOptions* options) {
  command
      .add_option("PHOTO", options->source.photographs,
                  "Photographs, folders of photographs, or patterns in quotes such as 'in/*.jpg'")
      ->type_name("");
  command.add_option("-o,--output", options->source.folder, "Folder for the finished photographs; created if missing")
      ->type_name("DIR");
  command.add_option("--list", options->source.list, "File with more of them, one a line; - for standard input")
      ->type_name("FILE");
  command.add_option("--jsonl", options->source.lines, "File of JSON lines, see below; - for standard input")
      ->type_name("FILE");
}

}  // namespace

void AddSubmitCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<SubmitOptions>();
  CLI::App* command = app.add_subcommand("submit", "Hand photographs in to a queue, for workers to make");
  AddWishes(*command, options.get());
  AddQueueOptions(*command, &options->queue);
  orders::AddMakeOptions(*command, &options->order.document);
  command->add_flag("--pair", options->order.pair,
                    "Two persons in each photograph; of the bounds only the size counts");
  orders::AddFormatOption(*command, &options->format, "jpg (default) or png");
  orders::AddMaxMegapixels(*command, &options->order.limits.pixels);
  command->footer(
      "Photographs, names of outputs and options are as for idphoto batch. A job has the photograph's absolute name\n"
      "and SHA-256, not the photograph: workers need the same folders, or an address that they may read. The same job\n"
      "handed in twice is there once.\n\n"
      "A JSON line is an object: photograph (a name, or an address with its sha256), output, sha256 and options, an\n"
      "object such as {\"preset\": \"de-passport\", \"strict\": true}; all but the first may be missing.\n\n"
      "A queue that is full makes this wait. An interrupt (Ctrl-C) ends it, and the same command goes on later.\n\n"
      "Exit status: 0 all are in the queue, 1 some are not, 2 nothing was tried.\n\n"
      "Examples:\n"
      "  idphoto submit --queue folder:/srv/queue class-3b/ -o passports --preset de-passport\n"
      "  find in -name '*.jpg' | idphoto submit --queue folder:/srv/queue --list - -o out --preset us-passport\n"
      "  idphoto submit --queue amqps://desk@queue.example/photos --jsonl jobs.jsonl");
  command->callback([options, command, status] {
    const std::set<std::string> others = {
        "--help",     "PHOTO",        "--output",   "--list", "--jsonl", "--queue", "--queue-password-file",
        "--queue-ca", "--queue-cert", "--queue-key"};
    options->source.options = GivenOptions(*command, others);
    *status = Submit(*options);
  });
}

}  // namespace qx::cli
