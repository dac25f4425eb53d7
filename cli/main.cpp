// idphoto: the command line. Each subcommand lives in a file of its own under commands/.
#include <malloc.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>

#include "cli/commands/commands.h"
#include "cli/output_file.h"
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

int Run(int argc, char** argv) {
  int status = qx::cli::kDone;
  CLI::App app("Identification photographs from ordinary photographs.", "idphoto");
  app.set_version_flag("--version", "idphoto " + qx::orders::ProgramVersion(), "Print the version");
  app.require_subcommand(1);
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
      "  idphoto batch class/ -o passports --preset de-passport");
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
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& request) {
    app.exit(request);  // --help, --version
  } catch (const CLI::ParseError& error) {
    const auto commands = app.get_subcommands();
    const std::string command = commands.empty() ? "" : " " + commands.front()->get_name();
    const bool unknown = commands.empty() && argc > 1 && argv[1][0] != '-';
    const std::string reason = unknown ? "there is no command \"" + std::string(argv[1]) + "\"" : error.what();
    std::fprintf(stderr, "idphoto: %s; see idphoto%s --help\n", qx::photo::Printable(reason).c_str(), command.c_str());
    return qx::cli::kNotStarted;
  }
  return status;
}

// Every step takes and gives back pictures of some megabytes: to use the same pages again is cheaper than to have the
// system clear new ones.
void KeepFreedMemory() {
  constexpr int kMost = 256 << 20;
  mallopt(M_MMAP_THRESHOLD, kMost);
  mallopt(M_TRIM_THRESHOLD, kMost);
}

}  // namespace

int main(int argc, char** argv) {
  try {
#ifdef QX_WITH_SERVER
    if (qx::server::IsChild(argc, argv)) return qx::server::RunChild(qx::server::MakePhotoWorker);
#endif
    KeepFreedMemory();
    qx::cli::RemoveTemporariesOnSignals();
    const qx::codec::ImageLibrary images;
    int status = Run(argc, argv);
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
