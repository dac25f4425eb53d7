#include "codec/mask.h"

#include <algorithm>
#include <string>

#include "photo/base/failure.h"

namespace qx::codec {
namespace {

void SetToGrey(const photo::Image& image, photo::Mask* mask) {
  for (size_t i = 0; i < mask->values.size(); ++i) {
    const uint8_t* bgr = image.bgr.data() + 3 * i;
    mask->values[i] = static_cast<uint8_t>((299u * bgr[2] + 587u * bgr[1] + 114u * bgr[0] + 500u) / 1000u);
  }
}

bool IsAll(const photo::Mask& mask, uint8_t wanted) {
  return std::all_of(mask.values.begin(), mask.values.end(), [wanted](uint8_t value) { return value == wanted; });
}

}  // namespace

void CheckMaskSize(int32_t maskWidth, int32_t maskHeight, int32_t width, int32_t height) {
  if (maskWidth == width && maskHeight == height) return;
  auto size = [](int32_t w, int32_t h) { return std::to_string(w) + " x " + std::to_string(h) + " pixels"; };
  throw photo::Failure(photo::FailureCode::kBadMask, "the mask is " + size(maskWidth, maskHeight) +
                                                         ", the upright photograph " + size(width, height) +
                                                         "; both must be of one size");
}

photo::Mask MaskOf(const photo::Image& image, photo::Mask opacity) {
  if (IsAll(opacity, 255)) SetToGrey(image, &opacity);
  if (IsAll(opacity, 0)) {
    throw photo::Failure(photo::FailureCode::kBadMask,
                         "the mask is black throughout; the person must be white or opaque");
  }
  return opacity;
}

}  // namespace qx::codec
