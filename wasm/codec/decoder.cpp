#include "wasm/codec/decoder.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <utility>

#include "photo/base/failure.h"
#include "wasm/codec/jpeg.h"
#include "wasm/codec/png.h"

namespace qx::codec {
namespace {

constexpr size_t kMarkSize = sizeof kHandedOver - 1, kHeadSize = kMarkSize + 8, kChannels = 4;

uint32_t NumberAt(const uint8_t* from) {
  return uint32_t{from[0]} | uint32_t{from[1]} << 8 | uint32_t{from[2]} << 16 | uint32_t{from[3]} << 24;
}

photo::Failure MemoryFailure() {
  return {photo::FailureCode::kOutOfMemory, "takes more memory than there is; make it smaller"};
}

}  // namespace

Decoder::Decoder(photo::Bytes bytes, const Limits& limits) try {
  if (bytes.empty()) {
    throw photo::Failure(photo::FailureCode::kNotAPicture, "is empty; get the photograph again from where it came");
  }
  if (bytes.size() >= kHeadSize && std::memcmp(bytes.data(), kHandedOver, kMarkSize) == 0) {
    TakeHandedOver(bytes, limits);
  } else {
    file_ = std::move(bytes);
    if (!IsJpeg(file_) && !IsPng(file_)) {
      throw photo::Failure(photo::FailureCode::kNotAPicture,
                           "is not a photograph in a format that is known here; save it as JPEG or PNG");
    }
    pixels_ = IsPng(file_) ? ReadPng(file_, limits.pixels) : ReadJpeg(file_, limits.pixels);
  }
  facts_ = FactsOf(file_);
} catch (const std::bad_alloc&) {
  throw MemoryFailure();
}

void Decoder::TakeHandedOver(const photo::Bytes& bytes, const Limits& limits) {
  const uint32_t width = NumberAt(bytes.data() + kMarkSize), height = NumberAt(bytes.data() + kMarkSize + 4);
  const uint64_t most = (bytes.size() - kHeadSize) / kChannels;
  if (width == 0 || height == 0 || uint64_t{width} * height > most) {
    throw photo::Failure(photo::FailureCode::kNotAPicture, "is not as large as it says; hand over all of its pixels");
  }
  CheckSize(width, height, limits.pixels);
  const uint8_t* const samples = bytes.data() + kHeadSize;
  pixels_ = PixelsOf(samples, static_cast<int32_t>(width), static_cast<int32_t>(height), kChannels);
  file_.assign(samples + kChannels * width * height, bytes.data() + bytes.size());
}

photo::Image Decoder::TakeOnWhite() {
  if (pixels_.opacity.values.empty()) return std::move(pixels_.colours);
  photo::Image onWhite(Width(), Height());
  const photo::Image& colours = pixels_.colours;
  constexpr uint32_t kWhite = 255;
  for (size_t i = 0; i < onWhite.bgr.size(); ++i) {
    const uint32_t opacity = pixels_.opacity.values[i / 3];
    onWhite.bgr[i] = static_cast<uint8_t>((colours.bgr[i] * opacity + kWhite * (255 - opacity)) / 255);
  }
  return onWhite;
}

}  // namespace qx::codec
