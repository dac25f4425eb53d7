#include "photo/drawing/watermark.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string_view>
#include <vector>

#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/drawing/label_font.h"

namespace qx::photo {
namespace {

constexpr int kFontEm = 40;  // at which the font's letters are stored
constexpr int kShift = 18;   // places in the tile are whole numbers of 2^-18 pixels
constexpr int64_t kOne = 1 << kShift;
constexpr int32_t kSamples = 2;  // of a pixel, along each side

// Its series: the C library's sine has other last bits on other processors.
double Sine(double degrees) {
  constexpr double kPi = 3.14159265358979323846;
  const double x = degrees * (kPi / 180);
  double term = x, sum = x;
  for (int k = 2; k <= 40; k += 2) {
    term = -term * x * x / (k * (k + 1));
    sum += term;
  }
  return sum;
}

double Cosine(double degrees) {
  return Sine(90 - std::abs(degrees));
}

int64_t ToFixed(double value) {
  return static_cast<int64_t>(std::floor(value * kOne + 0.5));
}

int64_t Wrapped(int64_t place, int64_t period) {
  const int64_t rest = place % period;
  return rest < 0 ? rest + period : rest;
}

// One line of text as coverage, with an empty rim of a pixel, and the empty space around it up to the next repetitions.
class Tile {
 public:
  explicit Tile(const Watermark& watermark)
      : em_(std::min(2 * watermark.size, kFontEm)),
        scale_(static_cast<double>(em_) / watermark.size),
        // An enlarged edge is made as steep as it would be in letters of that size.
        steepness_(std::max(watermark.size, kFontEm)) {
    const int width = TextWidth(watermark.text, em_) + 2, height = LineHeight(em_) + 2;
    Canvas canvas(width, height, {0, 0, 0});
    DrawText(&canvas, 1, 1, watermark.text, em_, {255, 255, 255});
    const Image drawn = canvas.Take();
    coverage_ = Mask(width, height);
    for (size_t i = 0; i < coverage_.values.size(); ++i) coverage_.values[i] = drawn.bgr[3 * i];
    // Even, so that half of it is whole.
    periodX_ = 2 * ToFixed((width - 2 + watermark.space * scale_) / 2);
    periodY_ = ToFixed(height - 2 + watermark.space * scale_);
  }

  double Scale() const { return scale_; }  // pixels of the tile for one of the picture
  int64_t PeriodX() const { return periodX_; }
  int64_t PeriodY() const { return periodY_; }
  // The middle of the text.
  int64_t MiddleX() const { return (coverage_.width - 1) * kOne / 2; }
  int64_t MiddleY() const { return (coverage_.height - 1) * kOne / 2; }

  // At a place within the periods, 0 to 255: between the four nearest pixels.
  int32_t At(int64_t x, int64_t y) const {
    const auto column = static_cast<int32_t>(x >> kShift), row = static_cast<int32_t>(y >> kShift);
    if (column + 1 >= coverage_.width || row + 1 >= coverage_.height) return 0;
    const auto partX = static_cast<int32_t>(x >> (kShift - 8) & 255),
               partY = static_cast<int32_t>(y >> (kShift - 8) & 255);
    const uint8_t* const upper = coverage_.Row(row) + column;
    const uint8_t* const lower = coverage_.Row(row + 1) + column;
    const int32_t above = upper[0] * (256 - partX) + upper[1] * partX;
    const int32_t below = lower[0] * (256 - partX) + lower[1] * partX;
    const int32_t value = (above * (256 - partY) + below * partY) >> 16;
    if (steepness_ == kFontEm) return value;
    return std::clamp((2 * value - 255) * steepness_ / (2 * kFontEm) + 128, 0, 255);
  }

 private:
  int em_;
  double scale_;
  int32_t steepness_;
  Mask coverage_;
  int64_t periodX_ = 0, periodY_ = 0;
};

// A place in the pattern that moves along a row of the picture.
class Walker {
 public:
  Walker(const Tile& tile, int64_t x, int64_t y) : tile_(tile) {
    y_ = Wrapped(y, tile.PeriodY());
    // Every line lies half a period beside the one before.
    const int64_t line = (y - y_) / tile.PeriodY();
    x_ = Wrapped(x + (line & 1) * (tile.PeriodX() / 2), tile.PeriodX());
  }

  int32_t Coverage() const { return tile_.At(x_, y_); }
  // By less than a period.
  void Move(int64_t x, int64_t y) {
    y_ += y;
    x_ += x;
    if (y_ < 0 || y_ >= tile_.PeriodY()) {
      y_ += y_ < 0 ? tile_.PeriodY() : -tile_.PeriodY();
      x_ += tile_.PeriodX() / 2;
    }
    if (x_ < 0) x_ += tile_.PeriodX();
    if (x_ >= tile_.PeriodX()) x_ -= tile_.PeriodX();
  }

 private:
  const Tile& tile_;
  int64_t x_, y_;
};

void MixRow(const std::vector<int32_t>& sums, int32_t opacity, Ink ink, uint8_t* pixel) {
  constexpr int32_t kFull = 255 * kSamples * kSamples * 256;
  const uint8_t colour[] = {ink.blue, ink.green, ink.red};
  for (const int32_t sum : sums) {
    const int32_t share = sum * opacity;
    for (int c = 0; c < 3; ++c, ++pixel) {
      *pixel = static_cast<uint8_t>((*pixel * (kFull - share) + colour[c] * share + kFull / 2) / kFull);
    }
  }
}

Failure BadOption(const char* option, const std::string& text) {
  return {FailureCode::kBadOption, text, {{"option", option}}};
}

}  // namespace

void CheckWatermark(const Watermark& watermark) {
  const std::string& text = watermark.text;
  if (text.find_first_not_of(' ') == std::string::npos) throw BadOption("text", "the watermark has no text");
  if (text.size() > kMostWatermarkBytes) throw BadOption("text", "the watermark's text is too long");
  const std::string_view strange = CharacterWithoutGlyph(text);
  if (!strange.empty()) {
    throw BadOption("text", "the watermark's text has a character that cannot be drawn: " + Printable(strange) +
                                "; there are those of western European languages");
  }
  const auto check = [](const char* option, double value, double least, double most) {
    // Written so that what is no number fails too.
    if (value >= least && value <= most) return;
    throw BadOption(option, std::string("the watermark's ") + option + " is out of its range");
  };
  check("size", watermark.size, kLeastWatermarkSize, kMostWatermarkSize);
  check("opacity", watermark.opacity, 0, 1);
  check("angle", watermark.angle, -180, 180);
  check("space", watermark.space, 0, kMostWatermarkSpace);
}

void DrawWatermark(const Watermark& watermark, Image* picture) {
  CheckWatermark(watermark);
  const Tile tile(watermark);
  const auto opacity = static_cast<int32_t>(std::floor(watermark.opacity * 256 + 0.5));
  // A quarter of a pixel of the picture, in the tile. Samples lie at odd numbers of quarters.
  const int64_t across = ToFixed(Cosine(watermark.angle) * tile.Scale() / 4);
  const int64_t along = ToFixed(Sine(watermark.angle) * tile.Scale() / 4);
  std::vector<int32_t> sums(static_cast<size_t>(picture->width));
  for (int32_t y = 0; y < picture->height; ++y) {
    std::fill(sums.begin(), sums.end(), 0);
    for (int32_t i = 0; i < kSamples; ++i) {
      const int64_t row = 2 * (int64_t{kSamples} * y + i - picture->height) + 1;
      const int64_t column = 1 - 2 * int64_t{picture->width};
      Walker walker(tile, tile.MiddleX() + column * across - row * along,
                    tile.MiddleY() + column * along + row * across);
      for (int32_t& sum : sums) {
        for (int32_t k = 0; k < kSamples; ++k) {
          sum += walker.Coverage();
          walker.Move(2 * across, 2 * along);
        }
      }
    }
    MixRow(sums, opacity, watermark.ink, picture->At(0, y));
  }
}

}  // namespace qx::photo
