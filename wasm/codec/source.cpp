#include <algorithm>
#include <stdexcept>
#include <utility>

#include "codec/codec.h"
#include "codec/jpeg_parts.h"
#include "codec/jpeg_quality.h"
#include "codec/mask.h"
#include "wasm/codec/decoder.h"
#include "wasm/codec/jpeg.h"

namespace qx::codec {

// There is no image library with a life of its own.
ImageLibrary::ImageLibrary() = default;
ImageLibrary::~ImageLibrary() = default;
void ImageLibrary::LoadAll() {}

FileSource::FileSource(photo::Bytes file, const Limits& limits)
    : decoder_(std::make_unique<Decoder>(std::move(file), limits)) {
  kept_ = std::make_unique<photo::ImageSource>(decoder_->TakeOnWhite());
}
FileSource::~FileSource() = default;

int32_t FileSource::Width() {
  return kept_->Width();
}

int32_t FileSource::Height() {
  return kept_->Height();
}

photo::Image FileSource::Overview(int64_t leastPixels) {
  return kept_->Overview(leastPixels);
}

// All of the pixels are here anyway.
void FileSource::Keep(photo::Image) {}

photo::Image FileSource::Part(const photo::PixelBox& box, int32_t width, int32_t height) {
  const bool isInside = box.left >= 0 && box.top >= 0 && box.right <= Width() && box.bottom <= Height();
  if (!isInside || width < 1 || height < 1 || width > box.Width() || height > box.Height())
    throw std::invalid_argument("a part of a photograph lies outside it, is empty or enlarged");
  return kept_->Part(box, width, height);
}

photo::Image FileSource::Whole() {
  return kept_->Part({0, 0, Width(), Height()}, Width(), Height());
}

std::optional<TransparentPicture> FileSource::Transparent() {
  const Pixels& picture = decoder_->Picture();
  if (picture.opacity.values.empty()) return std::nullopt;
  return TransparentPicture{picture.colours, picture.opacity};
}

std::optional<photo::PrintResolution> FileSource::Resolution() const {
  return decoder_->Facts().resolution;
}

std::optional<photo::JpegQuality> FileSource::Quality() const {
  return QualityOf(decoder_->File());
}

size_t FileSource::FileSize() const {
  return decoder_->File().size();
}

std::optional<EncodedDocument> FileSource::Repacked(int32_t dpi, std::optional<int32_t> minKb,
                                                    std::optional<int32_t> maxKb) const {
  if (!IsJpeg(decoder_->File()) || decoder_->Facts().orientation > 1) return std::nullopt;
  return RepackedJpeg(decoder_->File(), dpi, minKb, maxKb);
}

photo::Image ReadImage(photo::Bytes file, const Limits& limits) {
  return Decoder(std::move(file), limits).TakeOnWhite();
}

photo::Mask ReadMask(photo::Bytes file, int32_t width, int32_t height, const Limits& limits) {
  const Decoder decoder(std::move(file), limits);
  const Pixels& picture = decoder.Picture();
  CheckMaskSize(decoder.Width(), decoder.Height(), width, height);
  return MaskOf(picture.colours, picture.opacity.values.empty() ? photo::Mask(width, height, 255) : picture.opacity);
}

}  // namespace qx::codec
