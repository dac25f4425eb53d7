#include "codec/colours.h"

#include <cstdint>
#include <string>
#include <vector>

#include "codec/profile.h"
#include "photo/base/failure.h"

namespace qx::codec {
using vips::VImage;
namespace {

bool HasSrgbProfile(const VImage& image) {
  size_t size = 0;
  const auto* data = static_cast<const char*>(image.get_blob(VIPS_META_ICC_NAME, &size));
  return IsSrgbProfile({data, size});
}

VImage ToSrgb(const VImage& image) {
  const bool cmyk = image.interpretation() == VIPS_INTERPRETATION_CMYK;
  const bool profiled = image.get_typeof(VIPS_META_ICC_NAME) != 0;
  if (cmyk || (profiled && !HasSrgbProfile(image))) {
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
