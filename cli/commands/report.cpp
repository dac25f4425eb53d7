#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "cli/batch/joined_report.h"
#include "cli/commands/commands.h"
#include "cli/output_file.h"
#include "cli/platform/file_name.h"
#include "cli/wording.h"
#include "photo/base/text.h"

namespace qx::cli {
namespace fs = std::filesystem;
namespace {

struct ReportOptions {
  std::vector<std::string> reports;
  std::string output;
};

int RunReport(const ReportOptions& options) {
  for (const std::string& report : options.reports) {
    if (!options.output.empty() && SameFile(PathOf(options.output), PathOf(report))) {
      throw SetupFailure(photo::Printable(options.output) + ": would replace that report; choose another name");
    }
  }
  std::vector<fs::path> files;
  for (const std::string& report : options.reports) files.push_back(PathOf(report));
  const JoinedReport joined = JoinReports(files);
  if (!options.output.empty()) {
    const std::string text = joined.Text();
    AsSetup([&] { WriteFile(PathOf(options.output), {text.begin(), text.end()}); });
  }
  std::fputs(joined.Summary().c_str(), stdout);
  return joined.Failed() == 0 ? kDone : kSomeFailed;
}

}  // namespace

void AddReportCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<ReportOptions>();
  CLI::App* command = app.add_subcommand("report", "Join the reports of several runs of batch and count the reasons");
  command->add_option("REPORT", options->reports, "Reports, as batch writes them")->type_name("")->required();
  command->add_option("-o,--output", options->output, "The joined report to write; without it only the counts are told")
      ->type_name("OUT");
  command->footer(
      "The joined report has one line for each photograph and output, sorted by name. Where several tell of one, a\n"
      "line that says done counts before one that says failed, since what was made is there; else the last one does.\n"
      "An unfinished last line of a report is left out.\n\n"
      "Exit status: 0 all photographs were made, 1 some failed, 2 a report cannot be read or the joined one "
      "written.\n\n"
      "Example:\n"
      "  idphoto report passports/report-*-of-10.jsonl -o passports/report.jsonl");
  command->callback([options, status] { *status = RunReport(*options); });
}

}  // namespace qx::cli
