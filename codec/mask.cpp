#include <algorithm>
#include <string>
#include <utility>

#include "codec/codec.h"
#include "codec/decode.h"
#include "photo/base/failure.h"

namespace qx::codec {
namespace {

void CheckMaskSize(const Extent& mask, int32_t width, int32_t height) {
  if (mask.width == width && mask.height == height) return;
  auto size = [](int32_t w, int32_t h) { return std::to_string(w) + " x " + std::to_string(h) + " pixels"; };
  throw photo::Failure(photo::FailureCode::kBadMask, "the mask is " + size(mask.width, mask.height) +
                                                         ", the upright photograph " + size(width, height) +
                                                         "; both must be of one size");
}

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

photo::Mask ReadMask(photo::Bytes file, int32_t width, int32_t height, const Limits& limits) {
  const Decoder decoder(std::move(file), limits);
  CheckMaskSize(decoder.Upright(), width, height);
  photo::Mask mask;
  const photo::Image image = decoder.DecodeWhole(1, &mask);
  if (IsAll(mask, 255)) SetToGrey(image, &mask);
  if (IsAll(mask, 0)) {
    throw photo::Failure(photo::FailureCode::kBadMask,
                         "the mask is black throughout; the person must be white or opaque");
  }
  return mask;
}

photo::Mask ReadMask(const std::filesystem::path& path, int32_t width, int32_t height, const Limits& limits) {
  return ReadMask(ReadFileBytes(path, limits), width, height, limits);
}

}  // namespace qx::codec
