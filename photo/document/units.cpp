#include "photo/document/units.h"

#include <cmath>
#include <cstdio>
#include <optional>

#include "photo/base/failure.h"
#include "photo/base/number.h"
#include "photo/base/text.h"

namespace qx::photo {
namespace {

constexpr double kLargest = 10000;

struct UnitName {
  std::string_view name;
  Unit unit;
  double scale;  // of the unit
};
constexpr UnitName kUnitNames[] = {{"mm", Unit::kMillimetre, 1},
                                   {"cm", Unit::kMillimetre, 10},
                                   {"in", Unit::kMillimetre, kMillimetresPerInch},
                                   {"px", Unit::kPixel, 1},
                                   {"%", Unit::kPercent, 1}};

// Plain decimal notation only: no sign, exponent, infinity or leading blank.
std::optional<double> ParseNumber(std::string_view text) {
  const bool isPlain = !text.empty() && text[0] >= '0' && text[0] <= '9';
  return isPlain ? ReadNumber(text) : std::nullopt;
}

// "35x45mm", "32-36mm" or "34mm": one or two numbers and what they are measured in.
struct Quantity {
  double first = 0;
  std::optional<double> second;
  Unit unit = Unit::kMillimetre;
};

std::optional<Quantity> ParseQuantity(std::string_view text, char separator) {
  for (const UnitName& unit : kUnitNames) {
    if (text.size() < unit.name.size() || text.substr(text.size() - unit.name.size()) != unit.name) continue;
    const std::string_view numbers = text.substr(0, text.size() - unit.name.size());
    const size_t place = numbers.find(separator);
    const auto first = ParseNumber(numbers.substr(0, place));
    if (!first) return std::nullopt;
    Quantity quantity{*first * unit.scale, std::nullopt, unit.unit};
    if (place == std::string_view::npos) return quantity;
    const auto second = ParseNumber(numbers.substr(place + 1));
    if (!second) return std::nullopt;
    quantity.second = *second * unit.scale;
    return quantity;
  }
  return std::nullopt;
}

Failure BadOption(std::string_view text, const std::string& problem) {
  return {FailureCode::kBadOption, "\"" + Printable(text) + "\" " + problem};
}

}  // namespace

Size ParseSize(std::string_view text) {
  const Failure problem = BadOption(text, "is no size; write it as 35x45mm, 3.5x4.5cm, 2x2in or 400x514px");
  const auto quantity = ParseQuantity(text, 'x');
  if (!quantity || !quantity->second || quantity->unit == Unit::kPercent) throw problem;
  const Size size{quantity->first, *quantity->second, quantity->unit};
  for (const double side : {size.width, size.height}) {
    if (side < 1 || side > kLargest) throw BadOption(text, "is out of range; sides go from 1 to 10000 mm or pixels");
    if (size.unit == Unit::kPixel && side != std::floor(side)) throw problem;
  }
  return size;
}

Range ParseRange(std::string_view text) {
  const auto quantity = ParseQuantity(text, '-');
  if (!quantity || quantity->unit == Unit::kPixel) {
    throw BadOption(text, "is no range; write it as 32-36mm, 3.2-3.6cm or 70-80%");
  }
  const Range range{quantity->first, quantity->second.value_or(quantity->first), quantity->unit};
  if (range.min > range.max) throw BadOption(text, "has its larger number first; turn it round");
  if (range.max > (range.unit == Unit::kPercent ? 100 : kLargest)) {
    throw BadOption(text, "is out of range; percents go up to 100, millimetres to 10000");
  }
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
