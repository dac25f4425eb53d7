#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "cli/batch/output_names.h"
#include "cli/check_page.h"
#include "cli/check_text.h"
#include "cli/commands/commands.h"
#include "cli/output_file.h"
#include "cli/platform/file_name.h"
#include "cli/progress.h"
#include "cli/wording.h"
#include "codec/codec.h"
#include "orders/check.h"
#include "orders/check_json.h"
#include "orders/options/common_options.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/drawing/draw_check.h"
#include "photo/studio.h"

namespace qx::cli {
namespace fs = std::filesystem;
namespace {

struct CheckOptions {
  std::vector<std::string> photographs;
  std::string drawing, page;
  bool json = false, verbose = false;
  orders::CheckOrder order;
};

// Whether one file was named: a folder or a pattern stands for one photograph today and for two tomorrow.
bool IsOneFile(const CheckOptions& options, const std::vector<std::string>& photographs) {
  return options.photographs.size() == 1 && photographs == options.photographs;
}

// The drawings of all photographs; none where none are asked for.
std::vector<fs::path> PlanDrawings(const CheckOptions& options, const std::vector<std::string>& photographs) {
  if (options.drawing.empty()) return {};
  if (IsOneFile(options, photographs)) {
    CheckPictureName(options.drawing, {{"photograph", photographs[0]}});
    return {PathOf(options.drawing)};
  }
  PrepareOutputFolder(PathOf(options.drawing));
  std::vector<fs::path> drawings;
  for (const std::string& stem : OutputStems(photographs)) {
    drawings.push_back(PathOf(options.drawing) / PathOf(stem + ".png"));
  }
  RefuseToReplace(photographs, drawings);
  return drawings;
}

void CheckPageName(const CheckOptions& options, const std::vector<std::string>& photographs) {
  if (options.page.empty()) return;
  const fs::path page = PathOf(options.page);
  if (page.extension() != ".html" && page.extension() != ".htm") {
    throw SetupFailure(photo::Printable(options.page) + ": is to be a page; end the name in .html");
  }
  CheckOutputFolder(page.has_parent_path() ? page.parent_path() : ".");
  RefuseToReplace(photographs, {page});
}

class CheckRun {
 public:
  // The order in the options is settled.
  explicit CheckRun(const CheckOptions& options)
      : options_(options),
        photographs_(ExpandPhotographs(options.photographs)),
        drawings_(PlanDrawings(options, photographs_)) {
    CheckPageName(options, photographs_);
  }

  int Run() {
    Progress progress(photographs_.size(), false);
    for (size_t i = 0; i < photographs_.size(); ++i) CheckOne(i, &progress);
    if (photographs_.size() > 1 && !options_.json) progress.Outcome("\n" + summary_.Text());
    if (!options_.page.empty()) WritePage(&progress);
    return allPassed_ ? kDone : kSomeFailed;
  }

 private:
  void CheckOne(size_t number, Progress* progress) {
    const std::string& name = photographs_[number];
    progress->Begin(number, photo::Printable(name));
    try {
      const photo::PhotoCheck check = Look(number);
      summary_.Add(check);
      allPassed_ = allPassed_ && check.Passed();
      progress->Outcome(options_.json ? orders::CheckJson(name, Document(), check) : CheckText(name, check, Detail()));
    } catch (const std::exception& exception) {
      summary_.AddUnread();
      allPassed_ = false;
      if (options_.json) {
        progress->Outcome(orders::CheckErrorJson(name, Document(), CodeOf(exception), Wording(exception)));
      }
      if (!options_.page.empty()) page_.AddFailure(name, Wording(exception));
      progress->Error(photo::Printable(name) + ": " + Wording(exception));
    }
  }

  photo::PhotoCheck Look(size_t number) {
    codec::FileSource source(PathOf(photographs_[number]), options_.order.limits);
    const photo::Image photograph = source.Whole();
    photo::PhotoCheck check = options_.order.Look(photograph, source, studio_);
    if (!drawings_.empty()) {
      const fs::path& drawing = drawings_[number];
      WriteFile(drawing, codec::EncodeImage(photo::DrawCheck(photograph, check), *codec::FormatOfName(drawing)));
    }
    if (!options_.page.empty()) page_.Add(photographs_[number], photograph, check);
    return check;
  }

  void WritePage(Progress* progress) {
    try {
      const std::string html = page_.Html();
      WriteFile(PathOf(options_.page), {html.begin(), html.end()});
    } catch (const photo::Failure& failure) {
      allPassed_ = false;
      progress->Error(Wording(failure));
    }
  }

  const std::string& Document() const { return options_.order.Preset().name; }

  CheckDetail Detail() const {
    if (options_.verbose) return CheckDetail::kAll;
    return photographs_.size() > 1 ? CheckDetail::kFindings : CheckDetail::kTable;
  }

  const CheckOptions& options_;
  const std::vector<std::string> photographs_;
  const std::vector<fs::path> drawings_;
  photo::Studio studio_;
  CheckSummary summary_;
  CheckPage page_;
  bool allPassed_ = true;
};

}  // namespace

void AddCheckCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<CheckOptions>();
  CLI::App* command = app.add_subcommand("check", "Measure finished photographs against their document");
  command
      ->add_option("PHOTO", options->photographs,
                   "Finished photographs, folders of photographs, or patterns in quotes such as 'in/*.jpg'")
      ->type_name("")
      ->required();
  options->order.AddOptions(*command);
  CLI::Option* json =
      command->add_flag("--json", options->json, "Print one JSON object a line for each photograph instead of text");
  command->add_flag("--verbose", options->verbose, "Print all numbers, and why something was not assessed")
      ->excludes(json);
  command
      ->add_option("--draw", options->drawing,
                   "Draw the measures into this .png or .jpg file; of several photographs into this folder")
      ->type_name("OUT");
  command->add_option("--html", options->page, "Write what was found as a page for the browser, pictures included")
      ->type_name("REPORT.html");
  orders::AddMaxMegapixels(*command, &options->order.limits.pixels);
  command->footer(
      "The whole picture is taken as the document. What is to be put right comes first, then what is to be looked at,\n"
      "then, of a single photograph, all numbers. Head: from the chin to the crown, which the face tells where hair\n"
      "stands high, or to the top of the hair, as the document counts it; the other length is only shown. Space\n"
      "above: upper edge to the hair, which may take of it what stands above the crown. Eyes: to the lower edge.\n"
      "Lengths may miss their limits by half a percent of the height, which is what measuring is worth. Scores go\n"
      "from 0 to 100: tilt falls by 1 for each 0.17 degrees, brightness is that of the face, symmetry compares its\n"
      "halves, and background says how plain the background is and how well the clothes stand out from it. What is\n"
      "not assessed, a hat say, is for you to look at; it neither passes nor fails. Of two persons the sizes are not\n"
      "measured, the faces both.\n\n"
      "Exit status: 0 all passed, 1 something failed or could not be measured, 2 nothing was tried.\n\n"
      "Examples:\n"
      "  idphoto check passport.jpg --preset de-passport\n"
      "  idphoto check passport.jpg --preset de-passport --draw measures.png\n"
      "  idphoto check class-3b/ --preset de-passport --html checks.html\n"
      "  idphoto check class-3b/ --preset de-passport --json > checks.jsonl");
  command->callback([options, status] {
    AsSetup([&] { options->order.Settle(); });
    *status = CheckRun(*options).Run();
  });
}

}  // namespace qx::cli
