#include "orders/crop.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "orders/options/checks.h"
#include "orders/options/common_options.h"

namespace qx::orders {
using Json = nlohmann::ordered_json;

void CropOrder::AddOptions(CLI::App& command) {
  command.add_option("--ratio", settings.ratio, "Width of the frame, 0 (close) to 1 (wide); default 0.667")
      ->type_name("R")
      ->check(NumberBetween(0, 1));
  CLI::Option* bound =
      command.add_option("--bound", settings.bound, "Largest width of a picture in pixels, 600 or above; default 800")
          ->type_name("N")
          ->check(WholeBetween(photo::kLowestBound, INT32_MAX));
  command.add_flag("--src-same", settings.sourceScale, "Keep the photograph's own scale, however large")
      ->excludes(bound);
  AddFormatOption(command, &format, "Without loss (png, default) or smaller (jpg, quality 95)");
}

std::string CropOrder::FileName(const std::string& stem, size_t number) const {
  return stem + "_face" + std::to_string(number) + EndingOf(PrintFormatOf(format));
}

Answer CropOrder::Work(Materials materials, photo::Studio& studio) const {
  const std::vector<photo::Image> crops = studio.Crop(codec::ReadImage(std::move(materials.photo), limits), settings);
  Answer answer;
  Json report = {{"photograph", materials.photoName}, {"faces", Json::array()}};
  for (size_t i = 0; i < crops.size(); ++i) {
    const std::string name = FileName(StemOf(materials.photoName), i + 1);
    report["faces"].push_back({{"output", name}, {"width", crops[i].width}, {"height", crops[i].height}});
    answer.pictures.push_back({name, PrintFormatOf(format), codec::EncodeImage(crops[i], format)});
  }
  answer.report = report.dump(-1, ' ', false, Json::error_handler_t::replace);
  return answer;
}

}  // namespace qx::orders
