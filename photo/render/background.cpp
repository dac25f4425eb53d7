#include "photo/render/background.h"

#include <cmath>
#include <cstddef>
#include <optional>
#include <string>

#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/render/css_colours.h"

namespace qx::photo {
namespace {

std::optional<Colour> ParseColour(std::string_view text) {
  const auto value = ParseCssColour(text);
  if (!value) return std::nullopt;
  return Colour{static_cast<uint8_t>(*value), static_cast<uint8_t>(*value >> 8), static_cast<uint8_t>(*value >> 16)};
}

}  // namespace

Background ParseBackground(std::string_view text) {
  Background background;
  if (text == "keep") {
    background.kind = Background::Kind::kKeep;
    return background;
  }
  if (text == "transparent") {
    background.kind = Background::Kind::kTransparent;
    return background;
  }
  constexpr std::string_view kGradient = "gradient:", kRadial = "radial:";
  std::optional<Colour> top, bottom;
  background.radial = text.substr(0, kRadial.size()) == kRadial;
  if (background.radial || text.substr(0, kGradient.size()) == kGradient) {
    const std::string_view colours = text.substr(background.radial ? kRadial.size() : kGradient.size());
    const size_t dash = colours.find('-');
    if (dash != std::string_view::npos) {
      top = ParseColour(colours.substr(0, dash));
      bottom = ParseColour(colours.substr(dash + 1));
    }
  } else {
    top = bottom = ParseColour(text);
  }
  if (!top || !bottom) {
    throw Failure(FailureCode::kBadOption,
                  "'" + Printable(text) +
                      "' is no background; use keep, transparent, a colour such as white or #438edb, or two as in "
                      "gradient:white-#dbe7f3 (top-bottom)");
  }
  background.top = *top;
  background.bottom = *bottom;
  return background;
}

Colour RowColour(const Background& background, int32_t row, int32_t height) {
  const int64_t last = height > 1 ? height - 1 : 1;
  auto mix = [&](uint8_t top, uint8_t bottom) {
    return static_cast<uint8_t>((2 * (top * (last - row) + bottom * int64_t{row}) + last) / (2 * last));
  };
  return {mix(background.top.blue, background.bottom.blue), mix(background.top.green, background.bottom.green),
          mix(background.top.red, background.bottom.red)};
}

void BackgroundRow::Start(int32_t row) {
  row_ = row;
  colour_ = RowColour(background_, row, height_);
}

Colour BackgroundRow::FromMiddle(int32_t column) const {
  const double x = 2.0 * column + 1 - width_, y = 2.0 * row_ + 1 - height_;
  const double part = std::sqrt((x * x + y * y) / (1.0 * width_ * width_ + 1.0 * height_ * height_));
  const auto mix = [part](uint8_t middle, uint8_t corner) {
    return static_cast<uint8_t>(middle + (corner - middle) * part + 0.5);
  };
  const Colour &middle = background_.top, &corner = background_.bottom;
  return {mix(middle.blue, corner.blue), mix(middle.green, corner.green), mix(middle.red, corner.red)};
}

Image Composite(const Image& foreground, const Mask& mask, const Background& background) {
  if (!mask.IsOf(foreground)) {
    throw Failure(FailureCode::kBadMask, "the mask is not of the picture's size");
  }
  Image result = foreground;
  if (background.kind != Background::Kind::kFill) return result;
  uint8_t* pixel = result.bgr.data();
  const uint8_t* alpha = mask.values.data();
  BackgroundRow row(background, result.width, result.height);
  for (int32_t y = 0; y < result.height; ++y) {
    row.Start(y);
    for (int32_t x = 0; x < result.width; ++x, pixel += 3, ++alpha) {
      const Colour colour = row.At(x);
      const uint8_t behind[3] = {colour.blue, colour.green, colour.red};
      for (int c = 0; c < 3; ++c) {
        pixel[c] = static_cast<uint8_t>((pixel[c] * *alpha + behind[c] * (255 - *alpha) + 127) / 255);
      }
    }
  }
  return result;
}

}  // namespace qx::photo
