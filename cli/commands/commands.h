// The program's subcommands and what they share.
#ifndef QX_CLI_COMMANDS_COMMANDS_H
#define QX_CLI_COMMANDS_COMMANDS_H

#include <CLI/App.hpp>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "cli/exit_status.h"
#include "cli/wording.h"
#include "codec/codec.h"
#include "orders/order.h"
#include "photo/base/failure.h"

namespace qx::cli {

// Each adds a subcommand whose callback does the work and stores how it went in *status.
void AddBackgroundCommand(CLI::App& app, int* status);
void AddCompressCommand(CLI::App& app, int* status);
void AddCropCommand(CLI::App& app, int* status);
void AddInspectCommand(CLI::App& app, int* status);
void AddMakeCommand(CLI::App& app, int* status);
void AddMaskCommand(CLI::App& app, int* status);
void AddRetouchCommand(CLI::App& app, int* status);
void AddPresetsCommand(CLI::App& app, int* status);
void AddCheckCommand(CLI::App& app, int* status);
void AddSheetCommand(CLI::App& app, int* status);
void AddBatchCommand(CLI::App& app, int* status);
void AddReportCommand(CLI::App& app, int* status);
void AddWatermarkCommand(CLI::App& app, int* status);
void AddServeCommand(CLI::App& app, int* status);

// A file that an output must not replace, and what it is for the user.
struct KeptFile {
  const char* what;  // "photograph"
  std::string path;  // empty: none
};

// The format that the name of an output asks for. Throws SetupFailure when there is none, when it would replace one of
// the other files, or when its folder cannot be written to.
codec::ImageFormat CheckPictureName(const std::string& output, std::initializer_list<KeptFile> others);

// Does the work on one photograph; when that fails, says why on standard error and stores kSomeFailed in *status. A
// SetupFailure goes on to the caller.
void RunOnPhotograph(const std::string& photograph, int* status, const std::function<void()>& work);

// Of a command that makes one picture file of another.
struct PictureFiles {
  std::string photograph, output;
  bool quiet = false, json = false;
};

// The files, the order's own options and those of the report.
void AddPictureOptions(CLI::App& command, orders::Order* order, PictureFiles* files);
// Writes the output and says so as was asked: `facts` ("413 x 531 pixels") and remarks, or the report. Throws Failure.
void WritePicture(const PictureFiles& files, const std::vector<uint8_t>& bytes, const std::string& facts,
                  const std::vector<std::string>& remarks, const std::string& report);

// The name of the second picture beside the output: that of the output with "-compare" before the ending.
std::string CompareName(const std::string& output);
// Writes the output and, unless it is empty, the comparison beside it: both or none. Throws Failure.
void WriteWithComparison(const std::string& output, const std::vector<uint8_t>& bytes,
                         const std::vector<uint8_t>& comparison);

}  // namespace qx::cli

#endif  // QX_CLI_COMMANDS_COMMANDS_H
