#include "orders/options/retouch_options.h"

#include <CLI/CLI.hpp>

#include "orders/options/checks.h"
#include "photo/base/failure.h"
#include "photo/base/number.h"
#include "photo/document/units.h"

namespace qx::orders {

bool ReadStrength(const std::string& text, double min, double max, std::optional<double>* strength) {
  const std::optional<double> value = photo::ReadNumber(text);
  if (!value || *value < min || *value > max) return false;
  *strength = value;
  return true;
}

void AddStrength(CLI::App& command, const std::string& name, std::optional<double>* strength, double min, double max,
                 const std::string& help) {
  command
      .add_option_function<std::string>(
          name,
          [=](const std::string& text) {
            if (ReadStrength(text, min, max, strength)) return;
            throw CLI::ValidationError(
                name, "must be between " + photo::Decimal(min) + " and " + photo::Decimal(max) + ", not " + text);
          },
          help)
      ->type_name("X")
      ->check(ReadAsNumber(min, max));
}

void AddRetouchOptions(CLI::App& command, RetouchOptions* options) {
  command
      .add_option_function<std::string>(
          "--beauty",
          [options](const std::string& name) {
            try {
              options->named = photo::NamedRetouch(name);
            } catch (const photo::Failure& failure) {
              throw CLI::ValidationError("--beauty", photo::ReasonOf(failure));
            }
          },
          "Retouch: light, natural or strong; single strengths can be given beside it")
      ->type_name("KIND")
      ->check(ReadAsOneOf({"light", "natural", "strong"}));
  AddStrength(command, "--mouth", &options->mouth, -photo::kMostSize, photo::kMostSize,
              "Smaller (-10) or larger mouth (10)");
  command
      .add_option_function<int32_t>(
          "--tone", [options](int32_t tone) { options->tone = tone; }, "Lighter, more even colours, 0 to 10")
      ->type_name("N")
      ->check(WholeBetween(0, photo::kMostTone));
  AddStrength(command, "--skin", &options->skin, 0, photo::kMostSkin, "Fewer spots and smoother skin, 0 to 5");
  command.add_flag("--detail", options->detail, "Clearer eyes");
  AddStrength(command, "--face", &options->face, 0, photo::kMostFace, "Narrower face, 0 to 5");
}

photo::Retouch RetouchOf(const RetouchOptions& options) {
  photo::Retouch retouch = options.named.value_or(photo::Retouch());
  retouch.eyes = options.eyes.value_or(retouch.eyes);
  retouch.mouth = options.mouth.value_or(retouch.mouth);
  retouch.tone = options.tone.value_or(retouch.tone);
  retouch.skin = options.skin.value_or(retouch.skin);
  retouch.detail = retouch.detail || options.detail;
  retouch.face = options.face.value_or(retouch.face);
  return retouch;
}

}  // namespace qx::orders
