#include "codec/document.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <string>
#include <utility>

#include "codec/jpeg_parts.h"
#include "photo/base/failure.h"
#include "photo/document/presets.h"

namespace qx::codec {
namespace {

constexpr int kGoodQuality = 80;

// A JPEG file with its resolution in pixels an inch.
class DocumentJpeg {
 public:
  DocumentJpeg(const PictureEncoder& encoder, int32_t dpi) : encoder_(encoder), jfif_(JfifSegment(dpi)) {}

  std::vector<uint8_t> Encode(int quality, bool isFullColour) const {
    std::vector<uint8_t> file = encoder_.Jpeg(quality, isFullColour, true);
    file.insert(file.begin() + 2, jfif_.begin(), jfif_.end());
    return file;
  }

 private:
  const PictureEncoder& encoder_;
  // Which the encoder leaves out with the metadata.
  std::vector<uint8_t> jfif_;
};

std::string Kilobytes(int64_t bytes) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f kB", static_cast<double>(bytes) / photo::kCeilingKilobyte);
  return text;
}

// The highest quality from lo up to hi whose file is not above the ceiling; nothing is known of the others.
EncodedDocument Bisect(const DocumentJpeg& encoder, int lo, int hi, bool fullColour, int64_t ceiling) {
  EncodedDocument best;
  while (lo <= hi) {
    const int middle = (lo + hi) / 2;
    std::vector<uint8_t> file = encoder.Encode(middle, fullColour);
    if (static_cast<int64_t>(file.size()) <= ceiling) {
      best.bytes = std::move(file);
      best.quality = middle;
      lo = middle + 1;
    } else {
      hi = middle - 1;
    }
  }
  return best;
}

EncodedDocument EncodeJpeg(const DocumentJpeg& encoder, int64_t floor, int64_t ceiling) {
  EncodedDocument document;
  document.bytes = encoder.Encode(kUsualQuality, true);
  document.quality = kUsualQuality;
  const auto size = [&document] { return static_cast<int64_t>(document.bytes.size()); };
  if (size() > ceiling) {
    // Good quality with all of the colour, or else what fits with a quarter of it.
    document = Bisect(encoder, kGoodQuality, kUsualQuality - 1, true, ceiling);
    if (document.bytes.empty()) document = Bisect(encoder, kLowestQuality, kUsualQuality - 1, false, ceiling);
    document.limited = true;
    if (document.bytes.empty()) {
      throw photo::Failure(photo::FailureCode::kFileSize,
                           "the file cannot be made as small as " + Kilobytes(ceiling) + " (quality " +
                               std::to_string(kLowestQuality) + " takes " +
                               Kilobytes(static_cast<int64_t>(encoder.Encode(kLowestQuality, false).size())) +
                               "); allow a larger file, or choose a smaller size or a lower resolution");
    }
  }
  if (size() >= floor) return document;
  if (!document.limited) {
    document = Bisect(encoder, kUsualQuality, 100, true, ceiling);
    document.limited = document.quality != kUsualQuality;
  }
  if (size() < floor) {
    document.padding = PaddingFor(floor - size());
    if (size() + static_cast<int64_t>(document.padding) > ceiling) {
      throw photo::Failure(photo::FailureCode::kFileSize,
                           "no file lies between the least and the largest size; widen them");
    }
    PadJpeg(&document.bytes, document.padding);
  }
  return document;
}

EncodedDocument EncodePng(const PictureEncoder& encoder, bool isTransparent, int64_t floor, int64_t ceiling) {
  EncodedDocument document;
  document.bytes = encoder.Png();
  const auto size = static_cast<int64_t>(document.bytes.size());
  if (size > ceiling || size < floor) {
    throw photo::Failure(photo::FailureCode::kFileSize,
                         "the PNG file takes " + Kilobytes(size) + " and cannot be made " +
                             (size > ceiling ? "smaller" : "larger") + "; write a .jpg file" +
                             (isTransparent ? ", before a colour" : ""));
  }
  return document;
}

}  // namespace

void PadJpeg(std::vector<uint8_t>* file, size_t bytes) {
  constexpr size_t kMarker = 2, kLongest = 65535 + kMarker, kShortest = 4;
  const size_t header = kMarker + kMarker + static_cast<size_t>((*file)[4] << 8 | (*file)[5]);
  std::vector<uint8_t> comments;
  while (bytes > 0) {
    // No rest may be too short for a segment of its own.
    size_t size = std::min(bytes, kLongest);
    if (bytes != size && bytes - size < kShortest) size -= kShortest;
    const size_t length = size - kMarker;
    comments.insert(comments.end(), {0xFF, 0xFE, static_cast<uint8_t>(length >> 8), static_cast<uint8_t>(length)});
    comments.resize(comments.size() + size - kShortest, ' ');
    bytes -= size;
  }
  file->insert(file->begin() + static_cast<std::ptrdiff_t>(header), comments.begin(), comments.end());
}

std::string EncodedDocument::Remark() const {
  std::string remark;
  if (limited) remark = "JPEG quality " + std::to_string(quality) + " for the limit in kB";
  if (padding > 0) {
    remark += (remark.empty() ? "" : ", ") + std::to_string(padding) + " blanks in a comment to reach the least size";
  }
  return remark;
}

SizeLimits LimitsOf(std::optional<int32_t> minKb, std::optional<int32_t> maxKb) {
  const int64_t floor = minKb ? *minKb * photo::kFloorKilobyte : 0;
  const int64_t ceiling = maxKb ? *maxKb * photo::kCeilingKilobyte : std::numeric_limits<int64_t>::max();
  if (floor > ceiling)
    throw photo::Failure(photo::FailureCode::kBadOption, "the least size is above the largest; turn them round");
  return {floor, ceiling};
}

EncodedDocument FitDocument(const PictureEncoder& encoder, ImageFormat format, int32_t dpi, const SizeLimits& limits,
                            bool isTransparent) {
  return format == ImageFormat::kJpeg ? EncodeJpeg(DocumentJpeg(encoder, dpi), limits.floor, limits.ceiling)
                                      : EncodePng(encoder, isTransparent, limits.floor, limits.ceiling);
}

void CheckOpacity(const photo::Image& image, const photo::Mask& opacity, ImageFormat format) {
  if (opacity.values.empty()) return;
  if (!opacity.IsOf(image)) {
    throw photo::Failure(photo::FailureCode::kBadMask, "the opacity is not of the picture's size");
  }
  if (format == ImageFormat::kPng) return;
  throw photo::Failure(photo::FailureCode::kBadOption, "a JPEG file cannot be transparent; write a .png file");
}

}  // namespace qx::codec
