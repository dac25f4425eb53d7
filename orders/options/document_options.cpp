#include "orders/options/document_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "orders/options/checks.h"
#include "orders/options/common_options.h"
#include "photo/base/failure.h"
#include "photo/document/units.h"

namespace qx::orders {
namespace {

// Has `parse` read the option's text, and its Failure become one of the command line.
template <typename Value>
CLI::Option* AddParsed(CLI::App& command, const std::string& name, std::optional<Value>* target,
                       Value (*parse)(std::string_view), const std::string& help) {
  return command.add_option_function<std::string>(
      name,
      [target, parse, name](const std::string& text) {
        try {
          *target = parse(text);
        } catch (const photo::Failure& failure) {
          throw CLI::ValidationError(name, photo::ReasonOf(failure));
        }
      },
      help);
}

void AddSizeOptions(CLI::App& command, DocumentOptions* options) {
  command.add_option("--preset", options->preset, "The document; idphoto presets lists them")->type_name("NAME");
  AddParsed(command, "--size", &options->size, photo::ParseSize,
            "Width and height: 35x45mm, 3.5x4.5cm, 2x2in, 400x514px")
      ->type_name("SIZE");
  AddWhole(command, "--dpi", &options->dpi, 72, 2400, "Pixels an inch, written into the file (default 300)");
  AddParsed(command, "--head", &options->head, photo::ParseRange, "Chin to what --head-to says: 32-36mm, 70-80%")
      ->type_name("RANGE");
  AddParsed(command, "--head-to", &options->headTo, photo::ParseHeadTo,
            "Where the head ends: crown, the top of the skull (default), or hair")
      ->type_name("END")
      ->check(ReadAsOneOf({"crown", "hair"}));
  AddParsed(command, "--top", &options->top, photo::ParseRange, "Space above the hair")->type_name("RANGE");
  AddParsed(command, "--face-width", &options->faceWidth, photo::ParseRange,
            "Width of the face (percents are of the width)")
      ->type_name("RANGE");
}

// Two meanings, told apart by the unit: where the eyes are to be, and how large.
void AddEyesOption(CLI::App& command, DocumentOptions* options) {
  command
      .add_option_function<std::vector<std::string>>(
          "--eyes",
          [options](const std::vector<std::string>& texts) {
            for (const std::string& text : texts) {
              if (ReadStrength(text, -photo::kMostSize, photo::kMostSize, &options->retouch.eyes)) continue;
              try {
                options->eyes = photo::ParseRange(text);
              } catch (const photo::Failure& failure) {
                throw CLI::ValidationError("--eyes", photo::ReasonOf(failure) + ", or as a size from -10 to 10");
              }
            }
          },
          "Eyes to the lower edge; or, as a number without a unit, smaller (-10) or larger eyes (10)")
      ->type_name("RANGE|X")
      ->allow_extra_args(false)
      ->take_all();
}

template <typename Value>
void Replace(const std::optional<Value>& by, std::optional<Value>* target) {
  if (by) *target = by;
}

}  // namespace

void AddMeasureOptions(CLI::App& command, DocumentOptions* options) {
  AddSizeOptions(command, options);
  AddParsed(command, "--eyes", &options->eyes, photo::ParseRange, "Eyes to the lower edge")->type_name("RANGE");
}

void AddMakeOptions(CLI::App& command, DocumentOptions* options) {
  AddSizeOptions(command, options);
  AddEyesOption(command, options);
  AddRetouchOptions(command, &options->retouch);
  AddAdjustOptions(command, &options->adjust);
  AddBackgroundOption(command, &options->background,
                      "keep, a CSS colour (white, lightblue, #rrggbb), gradient:COLOUR-COLOUR (top to bottom),"
                      " radial:COLOUR-COLOUR (middle to corners), or transparent");
  AddWhole(command, "--max-kb", &options->maxKb, 1, 1'000'000, "Largest size of a JPEG file");
  AddWhole(command, "--min-kb", &options->minKb, 1, 1'000'000, "Least size of a JPEG file");
  command.add_flag("--no-straighten", options->noStraighten, "Leave a head that leans as it is");
  AddKeepRimFlag(command, &options->keepRim);
  command.add_flag("--child", options->child, "Of a person under six, who may look aside, smile and lean");
  command.add_flag("--strict", options->strict, "Refuse a photograph whose persons are not shown as documents ask");
  command.add_flag("--relax", options->relax,
                   "When no cut meets the bounds, take the nearest and say what was given up");
  command.add_flag("--force", options->force,
                   "Change the background, retouch or adjust even where the authority forbids it");
}

photo::Preset PresetOf(const DocumentOptions& options) {
  if (options.preset.empty() && !options.size) {
    throw photo::Failure(photo::FailureCode::kBadOption, "name a --preset or give a --size", {{"option", "preset"}});
  }
  photo::Preset preset;
  if (!options.preset.empty()) preset = photo::FindPreset(options.preset);
  if (options.size) {
    preset.size = *options.size;
    preset.pixels.reset();
    preset.printSize.reset();
  }
  preset.dpi = options.dpi.value_or(preset.dpi);
  Replace(options.head, &preset.head);
  preset.headTo = options.headTo.value_or(preset.headTo);
  Replace(options.top, &preset.top);
  Replace(options.eyes, &preset.eyes);
  Replace(options.faceWidth, &preset.faceWidth);
  Replace(options.minKb, &preset.minKb);
  Replace(options.maxKb, &preset.maxKb);
  photo::Derive(preset);
  return preset;
}

photo::MakeRequest RequestOf(const DocumentOptions& options) {
  const photo::Preset preset = PresetOf(options);
  photo::MakeRequest request;
  request.document = photo::Derive(preset);
  request.background = photo::ParseBackground(photo::ChooseBackground(preset, options.background, options.force));
  // A turned photograph is a changed one.
  request.straighten = !options.noStraighten && (preset.backgroundChange || options.force);
  request.keepRim = options.keepRim;
  request.persons = photo::OptionsFor(preset, request.document, {}, options.child);
  request.strict = options.strict;
  request.relax = options.relax;
  request.retouch = RetouchOf(options.retouch);
  photo::CheckRetouch(preset, request.retouch, options.force);
  request.adjustment = AdjustmentOf(options.adjust);
  photo::CheckAdjustment(preset, request.adjustment, options.force);
  return request;
}

std::vector<std::string> ReasonNames(const photo::MadePhoto& made) {
  std::vector<std::string> names;
  for (const std::vector<photo::Measure>& person : made.source) {
    for (const photo::Measure& measure : person) {
      if (measure.state != photo::MeasureState::kFailed) continue;
      if (std::find(names.begin(), names.end(), measure.id) == names.end()) names.push_back(measure.id);
    }
  }
  return names;
}

void CheckTransparency(const photo::Background& background, codec::ImageFormat format, const std::string& advice) {
  if (!background.IsTransparent() || format == codec::ImageFormat::kPng) return;
  throw photo::Failure(photo::FailureCode::kBadOption,
                       "a .jpg file cannot be transparent; " + advice + ", or choose a colour with --background",
                       {{"option", "background"}});
}

}  // namespace qx::orders
