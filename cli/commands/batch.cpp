#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "cli/batch/batch.h"
#include "cli/batch/options_text.h"
#include "cli/batch/output_names.h"
#include "cli/commands/commands.h"
#include "cli/output_file.h"
#include "cli/platform/file_name.h"
#include "cli/wording.h"
#include "codec/codec.h"
#include "orders/make.h"
#include "orders/options/common_options.h"
#include "orders/options/document_options.h"
#include "orders/order.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/studio.h"

namespace qx::cli {
namespace fs = std::filesystem;
namespace {

constexpr size_t kMaxJobs = 256;

struct BatchOptions {
  std::vector<std::string> photographs;
  std::string folder, report;
  std::string shard = "1/1";
  orders::MakeOrder order;
  codec::ImageFormat format = codec::ImageFormat::kJpeg;
  bool resume = false;
  size_t jobs = std::clamp<size_t>(std::thread::hardware_concurrency(), 1, kMaxJobs);
};

// The whole list is planned even where a shard takes a part of it: the outputs' names must not hang on who makes them.
std::vector<BatchItem> PlanBatch(const BatchOptions& options, const Shard& shard, const fs::path& report) {
  const std::vector<std::string> photographs = ExpandPhotographs(options.photographs);
  const std::vector<std::string> stems = OutputStems(photographs);
  const std::string ending = options.format == codec::ImageFormat::kJpeg ? ".jpg" : ".png";
  std::vector<BatchItem> items;
  std::vector<fs::path> outputs{report};
  for (size_t i = 0; i < photographs.size(); ++i) {
    items.push_back({PathOf(photographs[i]), PathOf(options.folder) / PathOf(stems[i] + ending)});
    outputs.push_back(items.back().output);
  }
  RefuseToReplace(photographs, outputs);
  std::vector<BatchItem> share;
  for (const size_t i : ItemsOf(shard, photographs)) share.push_back(items[i]);
  return share;
}

// Shards that run at once must not write into one file.
fs::path ReportName(const BatchOptions& options, const Shard& shard) {
  if (!options.report.empty()) return PathOf(options.report);
  const std::string share = std::to_string(shard.number) + "-of-" + std::to_string(shard.count);
  return PathOf(options.folder) / (shard.count == 1 ? "report.jsonl" : "report-" + share + ".jsonl");
}

// The worker of one thread.
class Worker {
 public:
  explicit Worker(const orders::MakeOrder& order) : order_(order) {}

  void Make(const BatchItem& item, BatchOutcome* outcome) {
    codec::FileSource source(item.input, order_.limits);
    const orders::MadeFile file = order_.Finish(studio_.Make(source, order_.Faces(), order_.Request()));
    WriteFile(item.output, file.file.bytes);
    orders::MadeLine line = order_.LineOf(file);
    outcome->message = std::move(line.message);
    outcome->reasons = std::move(line.reasons);
    outcome->measures = std::move(line.measures);
  }

 private:
  const orders::MakeOrder& order_;
  photo::Studio studio_;
};

int RunBatchCommand(BatchOptions& options, const std::string& text) {
  orders::MakeOrder& order = options.order;
  AsSetup([&] { order.Settle(); });
  AsSetup([&] { orders::CheckTransparency(order.Request().background, options.format, "add --format png"); });
  order.format = options.format;
  const Shard shard = ParseShard(options.shard);
  PrepareOutputFolder(PathOf(options.folder));
  const fs::path report = ReportName(options, shard);
  const std::vector<BatchItem> items = PlanBatch(options, shard, report);

  const auto makeWorker = [&]() -> BatchWorker {
    const auto worker = std::make_shared<Worker>(options.order);
    return [worker](const BatchItem& item, BatchOutcome* outcome) { worker->Make(item, outcome); };
  };
  const BatchSummary summary = RunBatch(items, makeWorker, {options.jobs, report, options.resume, text});
  if (summary.left > 0) {
    std::fprintf(stderr, "idphoto: interrupted; %s not tried, go on with --resume\n",
                 photo::Count(summary.left, "photograph").c_str());
  }
  return summary.failed + summary.left == 0 ? kDone : kSomeFailed;
}

}  // namespace

void AddBatchCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<BatchOptions>();
  CLI::App* command = app.add_subcommand("batch", "Make the finished photographs of many persons");
  command
      ->add_option("PHOTO", options->photographs,
                   "Photographs, folders of photographs, or patterns in quotes such as 'in/*.jpg'")
      ->type_name("")
      ->required();
  command->add_option("-o,--output", options->folder, "Folder for the finished photographs; created if missing")
      ->type_name("DIR")
      ->required();
  orders::AddMakeOptions(*command, &options->order.document);
  command->add_flag("--pair", options->order.pair,
                    "Two persons in each photograph; of the bounds only the size counts");
  orders::AddFormatOption(*command, &options->format, "jpg (default) or png");
  command->add_option("--jobs", options->jobs, "Photographs at once; default: one for each processor")
      ->type_name("N")
      ->check(CLI::Range(size_t{1}, kMaxJobs).description(""));
  command->add_option("--report", options->report, "What became of each, as JSON lines; default DIR/report.jsonl")
      ->type_name("FILE");
  command->add_flag("--resume", options->resume, "Leave out photographs that the report lists as done");
  command
      ->add_option("--shard", options->shard, "Of N runs that share the work this is the I-th; each reports of its own")
      ->type_name("I/N");
  orders::AddMaxMegapixels(*command, &options->order.limits.pixels);
  command->footer(
      "The finished photographs are DIR/NAME.jpg; existing files of these names are replaced, the photographs never.\n"
      "Photographs of the same name from different folders become NAME, NAME-2, NAME-3. One that fails does not stop\n"
      "the others. The report has one JSON object a line for each: input, output, status (done or failed), message,\n"
      "reasons (names for programs), measures, seconds, options. An interrupt (Ctrl-C) lets the photographs at work\n"
      "finish, a second one does not; --resume with the same options then goes on: it leaves out what the report\n"
      "lists as done, as long as the output is there and not older than its photograph.\n"
      "Remarks say what a new background, cut and size cannot mend, such as closed eyes or bad light; with --strict\n"
      "such photographs fail. At the end the reasons are counted; with --resume also those of photographs that an\n"
      "earlier run has done.\n\n"
      "With --shard each of N runs, on one machine or several with the same folders, takes every Nth of the sorted\n"
      "photographs and gives the names that one run would give; their report is DIR/report-I-of-N.jsonl. Give all the\n"
      "same arguments. idphoto report joins what they report.\n\n"
      "Exit status: 0 all done, 1 some photograph failed or was not tried after an interrupt, 2 nothing was tried.\n\n"
      "Examples:\n"
      "  idphoto batch class-3b/ -o passports --preset de-passport\n"
      "  idphoto batch 'scans/*.tiff' -o badges --size 300x400px --head 55-65% --jobs 4\n"
      "  idphoto batch class-3b/ -o passports --preset de-passport --resume\n"
      "  idphoto batch students/ -o cards --preset de-passport --shard 3/10");
  command->callback([options, command, status] {
    const std::set<std::string> others = {"--help", "PHOTO", "--output", "--report", "--resume", "--jobs", "--shard"};
    *status = RunBatchCommand(*options, OptionsText(GivenOptions(*command, others)));
  });
}

}  // namespace qx::cli
