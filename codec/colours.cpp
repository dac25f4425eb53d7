#include "codec/colours.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "photo/base/failure.h"

namespace qx::codec {
using vips::VImage;
namespace {

// True when the embedded profile is sRGB by its own description. Such pixels are taken as they are, which is exact and
// quick; a conversion would go through another colour space and back.
bool IsSrgbProfile(const VImage& image) {
  size_t size = 0;
  const auto* data = static_cast<const char*>(image.get_blob(VIPS_META_ICC_NAME, &size));
  const std::string_view profile(data, size);
  // ICC.1: 128 bytes of header (colour space at 16), the count of tags, 12 bytes a tag: signature, offset, length.
  if (size < 132 || profile.substr(16, 4) != "RGB ") return false;
  auto number = [&](size_t at) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<uint8_t>(profile[at + i]);
    return size_t{value};
  };
  const size_t tags = number(128);
  for (size_t i = 0, at = 132; i < tags && at + 12 <= size; ++i, at += 12) {
    if (profile.substr(at, 4) != "desc") continue;
    const size_t offset = number(at + 4);
    // textDescriptionType: signature, four zero bytes, length, then ASCII.
    return offset <= size - 12 && profile.substr(offset, 4) == "desc" && profile.substr(offset + 12, 4) == "sRGB";
  }
  return false;
}

VImage ToSrgb(const VImage& image) {
  const bool cmyk = image.interpretation() == VIPS_INTERPRETATION_CMYK;
  const bool profiled = image.get_typeof(VIPS_META_ICC_NAME) != 0;
  if (cmyk || (profiled && !IsSrgbProfile(image))) {
    auto* options = VImage::option()
                        ->set("embedded", true)
                        ->set("intent", VIPS_INTENT_RELATIVE)
                        ->set("black_point_compensation", true)
                        ->set("depth", 8);
    if (cmyk) options->set("input_profile", "cmyk");
    try {
      return image.icc_transform("srgb", options);
    } catch (const vips::VError&) {
      // A profile that is damaged or belongs to another kind of picture: the numbers are read without it.
    }
  }
  return image.interpretation() == VIPS_INTERPRETATION_sRGB ? image : image.colourspace(VIPS_INTERPRETATION_sRGB);
}

VImage ToEightBits(const VImage& image) {
  return image.format() == VIPS_FORMAT_UCHAR ? image : image.cast(VIPS_FORMAT_UCHAR);
}

// White in the picture's own numbers: no ink, or full light (16 bits, 8 bits, or floating point 1).
double White(const VImage& image) {
  switch (image.interpretation()) {
    case VIPS_INTERPRETATION_CMYK: return 0;
    case VIPS_INTERPRETATION_RGB16:
    case VIPS_INTERPRETATION_GREY16: return 65535;
    case VIPS_INTERPRETATION_scRGB: return 1;
    default: return 255;
  }
}

}  // namespace

VImage ToColours(const VImage& image) {
  VImage opaque = image;
  if (image.has_alpha()) {
    opaque = image.flatten(VImage::option()->set("background", std::vector<double>{White(image)}));
  }
  const VImage colours = ToEightBits(ToSrgb(opaque));
  if (colours.bands() != 3) {
    throw photo::Failure(photo::FailureCode::kNotAPicture, "has " + std::to_string(colours.bands()) +
                                                               " channels, which is no photograph; save it as sRGB");
  }
  return colours;
}

VImage WithoutOpacity(const VImage& image) {
  return image.extract_band(0, VImage::option()->set("n", image.bands() - 1));
}

VImage ToOpacity(const VImage& image) {
  return image[image.bands() - 1].cast(VIPS_FORMAT_UCHAR, VImage::option()->set("shift", true));
}

}  // namespace qx::codec
