#include "wasm/codec/pixels.h"

#include <algorithm>
#include <cstddef>

namespace qx::codec {

Pixels PixelsOf(const uint8_t* samples, int32_t width, int32_t height, int channels) {
  Pixels pixels;
  pixels.colours = photo::Image(width, height);
  const size_t count = pixels.colours.Pixels();
  const auto step = static_cast<size_t>(channels);
  const size_t red = 0, green = channels == 1 ? 0 : 1, blue = channels == 1 ? 0 : 2;
  uint8_t* to = pixels.colours.bgr.data();
  bool isOpaque = true;
  for (size_t i = 0; i < count; ++i, to += 3) {
    const uint8_t* from = samples + i * step;
    to[0] = from[blue];
    to[1] = from[green];
    to[2] = from[red];
    isOpaque = isOpaque && (channels < 4 || from[3] == 255);
  }
  if (isOpaque) return pixels;
  pixels.opacity = photo::Mask(width, height);
  for (size_t i = 0; i < count; ++i) pixels.opacity.values[i] = samples[i * step + 3];
  return pixels;
}

photo::Bytes SamplesOf(const photo::Image& image, const photo::Mask& opacity) {
  const size_t channels = opacity.values.empty() ? 3 : 4;
  photo::Bytes samples(image.Pixels() * channels);
  for (size_t i = 0; i < image.Pixels(); ++i) {
    const uint8_t* from = image.bgr.data() + 3 * i;
    uint8_t* to = samples.data() + channels * i;
    to[0] = from[2];
    to[1] = from[1];
    to[2] = from[0];
    if (channels == 4) to[3] = opacity.values[i];
  }
  return samples;
}

void CheckSize(int64_t width, int64_t height, int64_t mostPixels) {
  const int64_t got = width * height;
  if (got <= mostPixels) return;
  const auto megapixels = [](int64_t pixels) { return std::to_string((pixels + 500'000) / 1'000'000); };
  throw photo::Failure(photo::FailureCode::kTooLarge,
                       "is " + std::to_string(width) + " x " + std::to_string(height) + " pixels (" + megapixels(got) +
                           " megapixels), above the limit of " + megapixels(mostPixels) + "; make it smaller",
                       {{"limit", static_cast<double>(mostPixels)}, {"got", static_cast<double>(got)}});
}

photo::Failure Damaged(const std::string& format) {
  return {photo::FailureCode::kDamagedFile,
          "is a damaged or truncated " + format + " file; get it again from where it came",
          {{"format", format}}};
}

photo::Failure ForTheBrowser(const std::string& format) {
  return {photo::FailureCode::kNotAPicture,
          "is a " + format + " file with colours or a turn that are not decoded here; save it anew as a plain one"};
}

}  // namespace qx::codec
