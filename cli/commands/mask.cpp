#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/output_file.h"
#include "cli/platform/file_name.h"
#include "cli/wording.h"
#include "codec/codec.h"
#include "orders/mask.h"
#include "orders/options/common_options.h"
#include "photo/base/text.h"
#include "photo/studio.h"

namespace qx::cli {
namespace fs = std::filesystem;
namespace {

struct MaskOptions {
  std::string photograph, mask, cutOut;
  bool quiet = false;
  orders::MaskOrder order;
};

// Both would be one file, whether or not it exists yet.
bool AreOne(const std::string& one, const std::string& other) {
  const auto placeOf = [](const std::string& name) { return fs::weakly_canonical(fs::absolute(PathOf(name))); };
  return SameFile(PathOf(one), PathOf(other)) || placeOf(one) == placeOf(other);
}

void CheckOutput(const std::string& output, const char* what, const MaskOptions& options) {
  if (output.empty()) return;
  const std::string name = photo::Printable(output);
  if (codec::FormatOfName(PathOf(output)) != codec::ImageFormat::kPng) {
    throw SetupFailure(name + ": " + what + " is a PNG file, which loses nothing; end the name in .png");
  }
  CheckPictureName(output, {{"photograph", options.photograph}});
}

void CheckOutputs(const MaskOptions& options) {
  if (options.mask.empty() && options.cutOut.empty()) {
    throw SetupFailure("name a file for the mask with --output, one for the cut-out with --cutout, or both");
  }
  CheckOutput(options.mask, "a mask", options);
  CheckOutput(options.cutOut, "a cut-out", options);
  if (!options.mask.empty() && !options.cutOut.empty() && AreOne(options.mask, options.cutOut)) {
    throw SetupFailure(photo::Printable(options.cutOut) + ": is the mask's name too; choose another");
  }
}

void WriteOutputs(const MaskOptions& options, const photo::CutOut& cutOut) {
  std::optional<OutputFile> mask, picture;
  const auto write = [](const std::string& name, const std::vector<uint8_t>& bytes, std::optional<OutputFile>* file) {
    file->emplace(PathOf(name));
    (*file)->Write(bytes.data(), bytes.size());
  };
  if (!options.mask.empty()) write(options.mask, codec::EncodeMask(cutOut.mask), &mask);
  if (!options.cutOut.empty()) {
    write(options.cutOut, options.order.EncodeCutOut(cutOut), &picture);
  }
  if (mask && picture) return OutputFile::CommitAll({&*mask, &*picture});
  (mask ? mask : picture)->Commit();
}

void Run(MaskOptions& options) {
  orders::MaskOrder& order = options.order;
  order.wantsCutOut = !options.cutOut.empty();
  AsSetup([&order] { order.Settle(); });
  CheckOutputs(options);
  codec::FileSource source(PathOf(options.photograph), order.limits);
  const photo::CutOut cutOut = photo::Studio().CutOut(source, order.Request());
  WriteOutputs(options, cutOut);
  if (options.quiet) return;
  std::string outputs = photo::Printable(options.mask);
  if (!options.cutOut.empty()) outputs += (outputs.empty() ? "" : ", ") + photo::Printable(options.cutOut);
  std::printf("%s: %s, %d x %d pixels\n", photo::Printable(options.photograph).c_str(), outputs.c_str(),
              cutOut.mask.width, cutOut.mask.height);
  for (const std::string& remark : cutOut.remarks) std::printf("  %s\n", remark.c_str());
}

}  // namespace

void AddMaskCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<MaskOptions>();
  CLI::App* command = app.add_subcommand("mask", "Take the person out of a photograph: as a mask, or cut out");
  command->add_option("PHOTO", options->photograph, "JPEG, PNG, WebP, HEIF or TIFF file")->type_name("")->required();
  command->add_option("-o,--output", options->mask, "The mask, a grey .png file: white where the person is")
      ->type_name("MASK");
  command->add_option("--cutout", options->cutOut, "The person alone, a transparent .png file")->type_name("OUT");
  options->order.AddOptions(*command);
  command->add_flag("--quiet", options->quiet, "Print nothing when all went well");
  orders::AddMaxMegapixels(*command, &options->order.limits.pixels);
  command->footer(
      "Both have the size of the photograph and lie as it does. make takes the mask back with --mask, as it is or\n"
      "mended by hand in a drawing program; the cut-out does as well. The cut-out's colours are the person's own, the\n"
      "old background's share is taken out of hair and outline; they are not multiplied by the opacity.\n\n"
      "Exit status: 0 done, 1 not possible with this photograph (the reason is on standard error), 2 nothing was\n"
      "tried.\n\n"
      "Examples:\n"
      "  idphoto mask holiday.jpg -o mask.png\n"
      "  idphoto make holiday.jpg -o passport.jpg --preset de-passport --mask mask.png\n"
      "  idphoto mask holiday.jpg --cutout me.png");
  command->callback([options, status] { RunOnPhotograph(options->photograph, status, [&] { Run(*options); }); });
}

}  // namespace qx::cli
