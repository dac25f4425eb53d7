// Any bytes as a photograph and as a mask: opened, overviewed, cut and read whole.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "codec/codec.h"
#include "photo/base/failure.h"

namespace {

using qx::codec::FileSource;
using qx::codec::Limits;
using qx::photo::Bytes;
using qx::photo::FailureCode;
using qx::photo::Image;

constexpr Limits kLimits{4'000'000};

// What bytes can be: a photograph, or one of these.
void Expect(const qx::photo::Failure& failure) {
  switch (failure.Code()) {
    case FailureCode::kNotAPicture:
    case FailureCode::kDamagedFile:
    case FailureCode::kTooLarge:
    case FailureCode::kBadMask:
    case FailureCode::kOutOfMemory: return;
    default: std::abort();
  }
}

// Reads every value, so that a buffer of the wrong size is seen.
void Check(const Image& image, int32_t width, int32_t height) {
  if (image.width != width || image.height != height) std::abort();
  volatile unsigned sum = 0;
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < 3 * width; ++x) sum = sum + image.At(0, y)[x];
  }
}

void Look(FileSource& source) {
  const int32_t width = source.Width(), height = source.Height();
  if (int64_t{width} * height > kLimits.pixels) std::abort();
  source.Resolution();
  if (const auto quality = source.Quality(); quality && (quality->quality < 1 || quality->quality > 100)) std::abort();
  const Image overview = source.Overview(int64_t{width} * height / 5);
  Check(overview, overview.width, overview.height);
  const qx::photo::PixelBox box{width / 5, height / 7, width - width / 9, height - height / 11};
  const int32_t w = std::max(1, box.Width() / 3), h = std::max(1, box.Height() / 3);
  Check(source.Part(box, w, h), w, h);                          // of what the overview has kept
  Check(source.Part(box, w, h), w, h);                          // from the file
  Check(source.Part({0, 0, 1, height}, 1, height), 1, height);  // a column as it is
  Check(source.Whole(), width, height);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  static const qx::codec::ImageLibrary images;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Bytes file(data, data + size);
  int32_t width = 1, height = 1;
  try {
    FileSource source(file, kLimits);
    width = source.Width();
    height = source.Height();
    Look(source);
  } catch (const qx::photo::Failure& failure) {
    Expect(failure);
  }
  try {
    const qx::photo::Mask mask = qx::codec::ReadMask(file, width, height, kLimits);
    if (mask.width != width || mask.values.size() != size_t(width) * size_t(height)) std::abort();
  } catch (const qx::photo::Failure& failure) {
    Expect(failure);
  }
  return 0;
}
