// idphoto: the command line. Each subcommand lives in a file of its own under commands/.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>

#include "host/commands/commands.h"
#include "host/image_file.h"
#include "host/output_file.h"
#include "host/text.h"
#include "qx_idp.h"

namespace {

std::string Version() {
  return "idphoto " + std::to_string(QX_IDP_VERSION_MAJOR) + "." + std::to_string(QX_IDP_VERSION_MINOR) + "." +
         std::to_string(QX_IDP_VERSION_PATCH);
}

int Run(int argc, char** argv) {
  int status = qx::host::kDone;
  CLI::App app("Identification photographs from ordinary photographs.", "idphoto");
  app.set_version_flag("--version", Version(), "Print the version");
  app.require_subcommand(1);
  app.footer(
      "Run idphoto COMMAND --help for a command's options.\n\n"
      "Examples:\n"
      "  idphoto crop holiday.jpg -o faces       every face, upright and framed, as a file in faces/\n"
      "  idphoto inspect holiday.jpg             the faces as a table\n"
      "  idphoto make holiday.jpg -o visa.jpg --preset schengen-visa\n"
      "  idphoto retouch holiday.jpg -o better.jpg --beauty light\n"
      "  idphoto check visa.jpg --preset schengen-visa\n"
      "  idphoto sheet passport.jpg -o sheet.png as many as fit on a sheet of photo paper, at true size\n"
      "  idphoto batch class/ -o passports --preset de-passport");
  qx::host::AddCropCommand(app, &status);
  qx::host::AddInspectCommand(app, &status);
  qx::host::AddMakeCommand(app, &status);
  qx::host::AddRetouchCommand(app, &status);
  qx::host::AddPresetsCommand(app, &status);
  qx::host::AddCheckCommand(app, &status);
  qx::host::AddSheetCommand(app, &status);
  qx::host::AddBatchCommand(app, &status);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& request) {
    app.exit(request);  // --help, --version
  } catch (const CLI::ParseError& error) {
    const auto commands = app.get_subcommands();
    const std::string command = commands.empty() ? "" : " " + commands.front()->get_name();
    const bool unknown = commands.empty() && argc > 1 && argv[1][0] != '-';
    const std::string reason = unknown ? "there is no command \"" + std::string(argv[1]) + "\"" : error.what();
    std::fprintf(stderr, "idphoto: %s; see idphoto%s --help\n", qx::host::Printable(reason).c_str(), command.c_str());
    return qx::host::kNotStarted;
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    qx::host::RemoveTemporariesOnSignals();
    const qx::host::ImageLibrary images(argv[0]);
    int status = Run(argc, argv);
    // A report that could not be written (a full disk, say) must not count as done.
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
      std::fputs("idphoto: cannot write to standard output; check where it leads\n", stderr);
      if (status == qx::host::kDone) status = qx::host::kSomeFailed;
    }
    return status;
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "idphoto: %s\n", qx::host::ReasonOf(exception).c_str());
    return qx::host::kNotStarted;
  }
}
