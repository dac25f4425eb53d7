#include "photo/person/foreground.h"

#include <algorithm>
#include <cmath>

#include "photo/base/raster.h"

namespace qx::photo {
namespace {

constexpr double kWorkingPixels = 1e6;
// Reach of the two blurs, in face widths: the first fills, the second follows.
constexpr double kFirstReach = 0.35, kSecondReach = 0.035;
constexpr int kChannels = 8;  // foreground (3), its weight, background (3), its weight; colours times their weights

// Blurred foreground and background colours, 3 and 3 channels. `current` holds the estimates so far, likewise.
Raster BlurColours(const Raster& current, const Raster& alpha, int radius) {
  Raster weighted(alpha.width, alpha.height, kChannels);
  for (size_t i = 0; i < alpha.values.size(); ++i) {
    // Cubed, so that pixels of one of the two alone count most: mixed ones carry the other's colour.
    const float a = alpha.values[i], own = a * a * a, behind = (1 - a) * (1 - a) * (1 - a);
    const float* from = current.values.data() + 6 * i;
    float* to = weighted.values.data() + kChannels * i;
    for (int c = 0; c < 3; ++c) to[c] = from[c] * own;
    to[3] = own;
    for (int c = 0; c < 3; ++c) to[4 + c] = from[3 + c] * behind;
    to[7] = behind;
  }
  weighted = BoxMean(weighted, radius);
  Raster colours(alpha.width, alpha.height, 6);
  constexpr float kNone = 1e-5f;  // a weight below which the colours so far stay
  for (size_t i = 0; i < alpha.values.size(); ++i) {
    const float* from = weighted.values.data() + kChannels * i;
    const float* before = current.values.data() + 6 * i;
    float* to = colours.values.data() + 6 * i;
    for (int c = 0; c < 3; ++c) to[c] = from[3] > kNone ? from[c] / from[3] : before[c];
    for (int c = 0; c < 3; ++c) to[3 + c] = from[7] > kNone ? from[4 + c] / from[7] : before[3 + c];
  }
  return colours;
}

// What the pixel shows beyond the two blurred colours, given to the foreground by its share.
float Foreground(float blurredForeground, float blurredBackground, float alpha, float shown) {
  const float rest = shown - alpha * blurredForeground - (1 - alpha) * blurredBackground;
  return std::clamp(blurredForeground + alpha * rest, 0.0f, 1.0f);
}

Raster BlurFusion(const Raster& picture, const Raster& alpha, double faceWidth) {
  auto reach = [&](double part) { return std::max(1, static_cast<int>(std::lround(part * faceWidth))); };
  Raster current(picture.width, picture.height, 6);
  for (size_t i = 0; i < alpha.values.size(); ++i) {
    for (size_t c = 0; c < 6; ++c) current.values[6 * i + c] = picture.values[3 * i + c % 3];
  }
  current = BlurColours(current, alpha, reach(kFirstReach));
  for (size_t i = 0; i < alpha.values.size(); ++i) {
    float* colours = current.values.data() + 6 * i;
    for (size_t c = 0; c < 3; ++c) {
      colours[c] = Foreground(colours[c], colours[3 + c], alpha.values[i], picture.values[3 * i + c]);
    }
  }
  return BlurColours(current, alpha, reach(kSecondReach));
}

}  // namespace

Image EstimateForeground(Image picture, const Mask& mask, double faceWidth) {
  const double pixels = double{1} * picture.width * picture.height;
  const double scale = std::min(1.0, std::sqrt(kWorkingPixels / pixels));
  const int width = std::max(1, static_cast<int>(std::lround(picture.width * scale)));
  const int height = std::max(1, static_cast<int>(std::lround(picture.height * scale)));
  const Raster copy = Resample(picture, {0, 0, double{1} * picture.width, double{1} * picture.height}, width, height);
  const Raster blurred = BlurFusion(copy, Resample(mask, width, height), faceWidth * scale);
  const double toX = double{1} * width / picture.width, toY = double{1} * height / picture.height;
  size_t i = 0;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x, ++i) {
      if (mask.values[i] == 0 || mask.values[i] == 255) continue;
      float colours[6];
      Sample(blurred, (x + 0.5) * toX, (y + 0.5) * toY, colours);
      for (size_t c = 0; c < 3; ++c) {
        uint8_t& sample = picture.bgr[3 * i + c];
        const float own = Foreground(colours[c], colours[3 + c], static_cast<float>(mask.values[i]) / 255,
                                     static_cast<float>(sample) / 255);
        sample = static_cast<uint8_t>(own * 255 + 0.5f);
      }
    }
  }
  return picture;
}

}  // namespace qx::photo
