#include "orders/options/common_options.h"

#include <CLI/CLI.hpp>

#include "orders/options/checks.h"
#include "photo/base/failure.h"
#include "photo/render/background.h"

namespace qx::orders {
namespace {

template <typename Format>
void AddFormat(CLI::App& command, Format* format, const std::string& help) {
  command
      .add_option_function<std::string>(
          "--format",
          [format](const std::string& name) {
            *format = name == "png" ? codec::ImageFormat::kPng : codec::ImageFormat::kJpeg;
          },
          help)
      ->type_name("FORMAT")
      ->transform(OneOf({"png", "jpg"}));
}

}  // namespace

void AddPersonOption(CLI::App& command, std::optional<int>* person, const std::string& help) {
  command.add_option("--person", *person, help)->type_name("N")->check(WholeBetween(1, INT32_MAX));
}

photo::AnalyseRequest FacesOf(const std::optional<int>& person, bool pair) {
  if (pair && person) {
    throw photo::Failure(photo::FailureCode::kBadOption, "--pair takes two faces, --person one; leave one of them out",
                         {{"option", "person"}});
  }
  return {person, pair};
}

void AddKeepRimFlag(CLI::App& command, bool* keepRim) {
  command.add_flag("--keep-rim", *keepRim, "Leave the old surroundings' light on the rim of hair and shoulders");
}

void AddFormatOption(CLI::App& command, codec::ImageFormat* format, const std::string& help) {
  AddFormat(command, format, help);
}

void AddFormatOption(CLI::App& command, std::optional<codec::ImageFormat>* format, const std::string& help) {
  AddFormat(command, format, help);
}

void AddCompareFlag(CLI::App& command, bool* compare) {
  command.add_flag("--compare", *compare, "Also write OUT-compare: before and after retouching, side by side");
}

void AddBackgroundOption(CLI::App& command, std::optional<std::string>* background, const std::string& help) {
  command
      .add_option_function<std::string>(
          "--background",
          [background](const std::string& text) {
            try {
              photo::ParseBackground(text);
            } catch (const photo::Failure& failure) {
              throw CLI::ValidationError("--background", photo::ReasonOf(failure));
            }
            *background = text;
          },
          help)
      ->type_name("COLOUR");
}

void AddWhole(CLI::App& command, const std::string& name, std::optional<int32_t>* target, int32_t min, int32_t max,
              const std::string& help) {
  command.add_option(name, *target, help)->type_name("N")->check(WholeBetween(min, max));
}

void AddMaxMegapixels(CLI::App& command, int64_t* maxPixels) {
  constexpr int64_t kMega = 1'000'000;
  command
      .add_option_function<int64_t>(
          "--max-megapixels", [maxPixels](int64_t value) { *maxPixels = value * kMega; },
          "Refuse larger photographs before decoding them (default " +
              std::to_string(codec::kDefaultMaxPixels / kMega) + ", at most " +
              std::to_string(codec::kHighestMaxPixels / kMega) + ")")
      ->type_name("N")
      ->check(WholeBetween(1, codec::kHighestMaxPixels / kMega));
}

}  // namespace qx::orders
