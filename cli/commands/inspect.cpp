#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/output_file.h"
#include "cli/platform/file_name.h"
#include "codec/codec.h"
#include "orders/inspect.h"
#include "orders/options/common_options.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/face/upright.h"
#include "photo/studio.h"

namespace qx::cli {
namespace {

struct InspectOptions {
  std::string photograph;
  bool json = false;
  std::string drawing;  // empty: none
  orders::InspectOrder order;
};

std::string TableText(const InspectOptions& options, const photo::Image& image,
                      const std::vector<photo::ProbedFace>& faces) {
  std::string text = photo::Printable(options.photograph) + ": " + std::to_string(image.width) + " x " +
                     std::to_string(image.height) + " pixels, " + photo::Count(faces.size(), "face") + "\n";
  if (faces.empty()) return text;
  text += "face  score  presence    roll   left    top  right bottom  left eye  right eye  mouth\n";
  for (size_t i = 0; i < faces.size(); ++i) {
    const photo::ProbedFace& face = faces[i];
    const auto [left, right] =
        std::minmax_element(face.corners.begin(), face.corners.end(),
                            [](const photo::Point& a, const photo::Point& b) { return a.x < b.x; });
    const auto [top, bottom] =
        std::minmax_element(face.corners.begin(), face.corners.end(),
                            [](const photo::Point& a, const photo::Point& b) { return a.y < b.y; });
    auto eye = [](int32_t openness) { return std::to_string(openness) + (openness < 100 ? " shut" : ""); };
    char row[160];
    std::snprintf(row, sizeof row, "%4zu  %5.3f  %8.3f  %6.1f %6d %6d %6d %6d  %8s  %9s  %5d\n", i + 1,
                  face.score / 1000.0, face.presence / 1000.0, face.Roll(), left->x, top->y, right->x, bottom->y,
                  eye(face.leftEye).c_str(), eye(face.rightEye).c_str(), face.mouth);
    text += row;
  }
  return text;
}

void Inspect(InspectOptions& options) {
  orders::InspectOrder& order = options.order;
  if (!options.drawing.empty()) {
    order.format = CheckPictureName(options.drawing, {{"photograph", options.photograph}});
  }
  const photo::Image photograph = codec::ReadImage(PathOf(options.photograph), order.limits);
  const std::vector<photo::ProbedFace> faces = photo::Studio().Inspect(photograph);
  const std::string report = options.json
                                 ? order.Report(options.photograph, photograph.width, photograph.height, faces) + "\n"
                                 : TableText(options, photograph, faces);
  std::fputs(report.c_str(), stdout);
  if (!options.drawing.empty()) WriteFile(PathOf(options.drawing), order.Draw(photograph, faces));
  if (faces.empty()) throw photo::NoFace();
}

}  // namespace

void AddInspectCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<InspectOptions>();
  CLI::App* command = app.add_subcommand("inspect", "Show what the face engine finds in a photograph");
  command->add_option("PHOTO", options->photograph, "JPEG, PNG, WebP, HEIF or TIFF file")->type_name("")->required();
  command->add_flag("--json", options->json, "Print one JSON object, all points included, instead of a table");
  CLI::Option* drawing =
      command->add_option("--draw", options->drawing, "Draw boxes and numbered points into this .png or .jpg file")
          ->type_name("OUT");
  options->order.AddOptions(*command);
  command->get_option("--points")->needs(drawing);
  orders::AddMaxMegapixels(*command, &options->order.limits.pixels);
  command->footer(
      "Places are pixels of the upright photograph from its upper left corner; left and right are as one looks at\n"
      "it. Score and presence (of the detector and of the landmark model) go from 0 to 1, roll is in degrees\n"
      "clockwise, and an eye with an openness below 100 counts as shut. The drawing enlarges photographs whose faces\n"
      "are too small for legible numbers.\n\n"
      "Exit status: 0 done, 1 no face or no photograph (the reason is on standard error), 2 nothing was tried.\n\n"
      "Examples:\n"
      "  idphoto inspect holiday.jpg\n"
      "  idphoto inspect holiday.jpg --draw faces.png --points dense\n"
      "  idphoto inspect holiday.jpg --json");
  command->callback([options, status] { RunOnPhotograph(options->photograph, status, [&] { Inspect(*options); }); });
}

}  // namespace qx::cli
