#include "orders/options/checks.h"

#include <CLI/CLI.hpp>

#include "photo/document/units.h"

namespace qx::orders {
namespace {

std::string Joined(const std::vector<std::string>& words, char separator) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : std::string(1, separator)) + word;
  return text;
}

std::string NumberName(double min, double max) {
  return "number " + photo::Decimal(min) + " " + photo::Decimal(max);
}

}  // namespace

CLI::Validator WholeBetween(int64_t min, int64_t max) {
  return CLI::Range(min, max).description("").name("whole " + std::to_string(min) + " " + std::to_string(max));
}

CLI::Validator NumberBetween(double min, double max) {
  const auto check = [min, max](std::string& text) {
    double value = 0;
    // Written so that "nan" fails too.
    const bool fits = CLI::detail::lexical_cast(text, value) && value >= min && value <= max;
    return fits ? std::string()
                : "must be between " + photo::Decimal(min) + " and " + photo::Decimal(max) + ", not " + text;
  };
  return CLI::Validator(check, "", NumberName(min, max));
}

CLI::Validator OneOf(const std::vector<std::string>& words) {
  return CLI::IsMember(words, CLI::ignore_case).description(Joined(words, '|')).name("words " + Joined(words, ' '));
}

CLI::Validator ReadAsNumber(double min, double max) {
  return CLI::Validator("").name(NumberName(min, max));
}

CLI::Validator ReadAsOneOf(const std::vector<std::string>& words) {
  return CLI::Validator("").name("words " + Joined(words, ' '));
}

}  // namespace qx::orders
