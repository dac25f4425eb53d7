// idphoto: the command line. Each subcommand lives in a file of its own under commands/.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/output_file.h"
#include "cli/platform/process.h"
#include "cli/wording.h"
#include "codec/codec.h"
#include "orders/order.h"
#include "photo/base/text.h"
#ifdef QX_WITH_QUEUES
#include "cli/queue/commands.h"
#endif
#ifdef QX_WITH_SERVER
#include "server/children/child.h"
#include "server/children/photo_worker.h"
#endif

namespace {

#ifdef QX_WITH_SERVER
constexpr bool kHasServer = true;
#else
constexpr bool kHasServer = false;
#endif
#ifdef QX_WITH_QUEUES
constexpr bool kHasQueues = true;
#else
constexpr bool kHasQueues = false;
#endif

// What the build was made without.
std::string MissingCommands() {
  if (!kHasServer)
    return "\n\nThis build has no server and no queues: the commands serve, work, submit and collect are missing.";
  return kHasQueues ? "" : "\n\nThis build has no queues: the commands work, submit and collect are missing.";
}

std::string UnknownCommand(const std::string& name) {
  const bool isOfQueues = name == "work" || name == "submit" || name == "collect";
  const bool isMissing = (!kHasServer && name == "serve") || (!kHasQueues && isOfQueues);
  return (isMissing ? "this build has no command \"" : "there is no command \"") + name + "\"";
}

// `arguments`: the program's name first.
int Run(std::vector<std::string> arguments) {
  int status = qx::cli::kDone;
  CLI::App app("Identification photographs from ordinary photographs.", "idphoto");
  app.set_version_flag("--version", "idphoto " + qx::orders::ProgramVersion(), "Print the version");
  app.require_subcommand(1);
  app.allow_windows_style_options(false);  // there too options begin with hyphens, and names of files may with a slash
  app.footer(
      "Run idphoto COMMAND --help for a command's options.\n\n"
      "Examples:\n"
      "  idphoto crop holiday.jpg -o faces       every face, upright and framed, as a file in faces/\n"
      "  idphoto inspect holiday.jpg             the faces as a table\n"
      "  idphoto make holiday.jpg -o visa.jpg --preset schengen-visa\n"
      "  idphoto mask holiday.jpg --cutout me.png  the person alone, on no background\n"
      "  idphoto retouch holiday.jpg -o better.jpg --beauty light\n"
      "  idphoto check visa.jpg --preset schengen-visa\n"
      "  idphoto sheet passport.jpg -o sheet.png as many as fit on a sheet of photo paper, at true size\n"
      "  idphoto batch class/ -o passports --preset de-passport" +
      MissingCommands());
  qx::cli::AddCropCommand(app, &status);
  qx::cli::AddInspectCommand(app, &status);
  qx::cli::AddMakeCommand(app, &status);
  qx::cli::AddMaskCommand(app, &status);
  qx::cli::AddBackgroundCommand(app, &status);
  qx::cli::AddRetouchCommand(app, &status);
  qx::cli::AddPresetsCommand(app, &status);
  qx::cli::AddCheckCommand(app, &status);
  qx::cli::AddSheetCommand(app, &status);
  qx::cli::AddCompressCommand(app, &status);
  qx::cli::AddWatermarkCommand(app, &status);
  qx::cli::AddBatchCommand(app, &status);
  qx::cli::AddReportCommand(app, &status);
#ifdef QX_WITH_SERVER
  qx::cli::AddServeCommand(app, &status);
#endif
#ifdef QX_WITH_QUEUES
  qx::cli::AddWorkCommand(app, &status);
  qx::cli::AddSubmitCommand(app, &status);
  qx::cli::AddCollectCommand(app, &status);
#endif
  if (!arguments.empty()) arguments.erase(arguments.begin());
  const std::string first = arguments.empty() ? "-" : arguments.front();
  std::reverse(arguments.begin(), arguments.end());  // as the parser takes them
  try {
    app.parse(std::move(arguments));
  } catch (const CLI::Success& request) {
    app.exit(request);  // --help, --version
  } catch (const CLI::ParseError& error) {
    const auto commands = app.get_subcommands();
    const std::string command = commands.empty() ? "" : " " + commands.front()->get_name();
    const bool isUnknown = commands.empty() && first.substr(0, 1) != "-";
    const std::string reason = isUnknown ? UnknownCommand(first) : error.what();
    std::fprintf(stderr, "idphoto: %s; see idphoto%s --help\n", qx::photo::Printable(reason).c_str(), command.c_str());
    return qx::cli::kNotStarted;
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
#ifdef QX_WITH_SERVER
    if (qx::server::IsChild(argc, argv)) return qx::server::RunChild(qx::server::MakePhotoWorker);
#endif
    qx::cli::platform::StartProcess();
    qx::cli::RemoveTemporariesOnSignals();
    const qx::codec::ImageLibrary images;
    int status = Run(qx::cli::platform::Arguments(argc, argv));
    // A report that could not be written (a full disk, say) must not count as done.
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
      std::fputs("idphoto: cannot write to standard output; check where it leads\n", stderr);
      if (status == qx::cli::kDone) status = qx::cli::kSomeFailed;
    }
    return status;
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "idphoto: %s\n", qx::cli::Wording(exception).c_str());
    return qx::cli::kNotStarted;
  }
}
