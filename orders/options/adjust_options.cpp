#include "orders/options/adjust_options.h"

#include <CLI/CLI.hpp>
#include <string>

#include "orders/options/checks.h"
#include "orders/options/retouch_options.h"

namespace qx::orders {

void AddAdjustOptions(CLI::App& command, AdjustOptions* options) {
  const auto add = [&command](const char* name, std::optional<double>* strength, const char* help) {
    AddStrength(command, name, strength, -photo::kMostAdjustment, photo::kMostAdjustment, help);
  };
  add("--brightness", &options->brightness, "Darker (-10) or brighter (10)");
  add("--contrast", &options->contrast, "Less (-10) or more contrast (10)");
  add("--saturation", &options->saturation, "Grey (-10) or more colourful (10)");
  add("--temperature", &options->temperature, "Bluer (-10) or yellower (10)");
  add("--tint", &options->tint, "Greener (-10) or more magenta (10)");
  command
      .add_option_function<std::string>(
          "--white-balance", [options](const std::string& kind) { options->whiteBalance = kind == "auto"; },
          "auto takes away the cast of the light where greys and the whites of the eyes show one; or keep (default)")
      ->type_name("KIND")
      ->transform(OneOf({"auto", "keep"}).description(""));
  add("--sharpness", &options->sharpness, "Softer (-10) or sharper (10)");
}

photo::Adjustment AdjustmentOf(const AdjustOptions& options) {
  photo::Adjustment adjustment;
  adjustment.brightness = options.brightness.value_or(0);
  adjustment.contrast = options.contrast.value_or(0);
  adjustment.saturation = options.saturation.value_or(0);
  adjustment.temperature = options.temperature.value_or(0);
  adjustment.tint = options.tint.value_or(0);
  adjustment.whiteBalance = options.whiteBalance;
  adjustment.sharpness = options.sharpness.value_or(0);
  return adjustment;
}

}  // namespace qx::orders
