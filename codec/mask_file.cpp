#include "codec/mask_file.h"

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vips/vips8>

#include "codec/image_file.h"
#include "photo/base/failure.h"

namespace qx::codec {
namespace {

using vips::VImage;

// The opacity of a picture file that ReadImage has accepted, upright; empty when the picture is opaque throughout.
photo::Bytes ReadOpacity(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  try {
    const VImage image = VImage::new_from_buffer(bytes.data(), bytes.size(), "").autorot();
    if (!image.has_alpha()) return {};
    const VImage opacity = image[image.bands() - 1].cast(VIPS_FORMAT_UCHAR, VImage::option()->set("shift", true));
    size_t size = 0;
    auto* samples = static_cast<uint8_t*>(opacity.write_to_memory(&size));
    photo::Bytes mask(samples, samples + size);
    g_free(samples);
    const bool opaque = std::all_of(mask.begin(), mask.end(), [](uint8_t value) { return value == 255; });
    return opaque ? photo::Bytes() : mask;
  } catch (const vips::VError&) {
    vips_error_clear();
    throw photo::Failure(photo::FailureCode::kBadMask, "cannot be read as a mask; save it as PNG");
  }
}

}  // namespace

photo::Mask ReadMask(const std::filesystem::path& path, int32_t width, int32_t height) {
  const photo::Image image = ReadImage(path);  // refuses everything that is not a whole picture
  if (image.width != width || image.height != height) {
    auto size = [](int32_t w, int32_t h) { return std::to_string(w) + " x " + std::to_string(h) + " pixels"; };
    throw photo::Failure(photo::FailureCode::kBadMask, "the mask is " + size(image.width, image.height) +
                                                           ", the upright photograph " + size(width, height) +
                                                           "; both must be of one size");
  }
  photo::Mask result(width, height);
  photo::Bytes mask = ReadOpacity(path);
  if (mask.size() != image.bgr.size() / 3) {
    mask.resize(image.bgr.size() / 3);
    for (size_t i = 0; i < mask.size(); ++i) {
      const uint8_t* bgr = image.bgr.data() + 3 * i;
      mask[i] = static_cast<uint8_t>((299u * bgr[2] + 587u * bgr[1] + 114u * bgr[0] + 500u) / 1000u);
    }
  }
  if (std::all_of(mask.begin(), mask.end(), [](uint8_t value) { return value == 0; })) {
    throw photo::Failure(photo::FailureCode::kBadMask,
                         "the mask is black throughout; the person must be white or opaque");
  }
  result.values = std::move(mask);
  return result;
}

}  // namespace qx::codec
