#include "photo/document/units.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <optional>

#include "photo/base/failure.h"
#include "photo/base/text.h"

namespace qx::photo {
namespace {

constexpr double kLargest = 10000;

std::string Quoted(std::string_view text) {
  return "\"" + Printable(text) + "\"";
}

bool TakeEnding(std::string_view* text, std::string_view ending) {
  if (text->size() < ending.size() || text->substr(text->size() - ending.size()) != ending) return false;
  text->remove_suffix(ending.size());
  return true;
}

// Plain decimal notation only: no sign, exponent, infinity or leading blank.
std::optional<double> ParseNumber(std::string_view text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
  const bool plain = !text.empty() && text[0] >= '0' && text[0] <= '9';
  if (!plain || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

}  // namespace

Size ParseSize(std::string_view text) {
  const std::string problem = Quoted(text) + " is no size; write it as 35x45mm, 2x2in or 400x514px";
  Size size;
  double scale = 1;
  std::string_view numbers = text;
  if (TakeEnding(&numbers, "px")) {
    size.unit = Unit::kPixel;
  } else if (TakeEnding(&numbers, "in")) {
    scale = kMillimetresPerInch;
  } else if (!TakeEnding(&numbers, "mm")) {
    throw Failure(FailureCode::kBadOption, problem);
  }
  const size_t cross = numbers.find('x');
  if (cross == std::string_view::npos) throw Failure(FailureCode::kBadOption, problem);
  const auto width = ParseNumber(numbers.substr(0, cross)), height = ParseNumber(numbers.substr(cross + 1));
  if (!width || !height) throw Failure(FailureCode::kBadOption, problem);
  size.width = *width * scale;
  size.height = *height * scale;
  for (const double side : {size.width, size.height}) {
    if (side < 1 || side > kLargest)
      throw Failure(FailureCode::kBadOption, Quoted(text) + " is out of range; sides go from 1 to 10000");
    if (size.unit == Unit::kPixel && side != std::floor(side)) throw Failure(FailureCode::kBadOption, problem);
  }
  return size;
}

Range ParseRange(std::string_view text) {
  const std::string problem = Quoted(text) + " is no range; write it as 32-36mm or 70-80%";
  Range range;
  std::string_view numbers = text;
  if (TakeEnding(&numbers, "%")) {
    range.unit = Unit::kPercent;
  } else if (!TakeEnding(&numbers, "mm")) {
    throw Failure(FailureCode::kBadOption, problem);
  }
  const size_t dash = numbers.find('-');
  const auto min = ParseNumber(numbers.substr(0, dash));
  const auto max = dash == std::string_view::npos ? min : ParseNumber(numbers.substr(dash + 1));
  if (!min || !max) throw Failure(FailureCode::kBadOption, problem);
  if (*min > *max) throw Failure(FailureCode::kBadOption, Quoted(text) + " has its larger number first; turn it round");
  if (*max > (range.unit == Unit::kPercent ? 100 : kLargest)) {
    throw Failure(FailureCode::kBadOption,
                  Quoted(text) + " is out of range; percents go up to 100, millimetres to 10000");
  }
  range.min = *min;
  range.max = *max;
  return range;
}

int32_t ToPixels(double millimetres, double dpi) {
  return static_cast<int32_t>(std::floor(millimetres * dpi / kMillimetresPerInch + 0.5));
}

double ToMillimetres(double pixels, double dpi) {
  return pixels * kMillimetresPerInch / dpi;
}

std::string Decimal(double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%.2f", value);
  std::string number = text;
  while (number.back() == '0') number.pop_back();
  if (number.back() == '.') number.pop_back();
  return number == "-0" ? "0" : number;
}

std::string ToText(const Size& size) {
  return Decimal(size.width) + "x" + Decimal(size.height) + (size.unit == Unit::kPixel ? "px" : "mm");
}

std::string ToText(const Range& range) {
  const std::string unit = range.unit == Unit::kPercent ? "%" : "mm";
  if (range.min == range.max) return Decimal(range.min) + unit;
  return Decimal(range.min) + "-" + Decimal(range.max) + unit;
}

}  // namespace qx::photo
