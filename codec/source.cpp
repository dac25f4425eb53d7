#include <algorithm>
#include <cmath>
#include <new>
#include <stdexcept>
#include <utility>

#include "codec/codec.h"
#include "codec/decode.h"
#include "codec/jpeg_parts.h"
#include "codec/jpeg_quality.h"
#include "codec/library.h"
#include "codec/mask.h"
#include "photo/base/failure.h"
#include "photo/base/resize.h"

namespace qx::codec {
namespace {

// Decoded pictures up to this size stay for Part, although their format could decode a part: they cost little memory
// and a second decoding as much time as the first.
constexpr int64_t kSmallPixels = 4'000'000;

photo::PixelBox Covering(const photo::Rectangle& area, int32_t reach, const Extent& size) {
  auto clamped = [](double value, int32_t most) {
    return static_cast<int32_t>(std::clamp(value, 0.0, static_cast<double>(most)));
  };
  return {clamped(std::floor(area.left) - reach, size.width - 1),
          clamped(std::floor(area.top) - reach, size.height - 1), clamped(std::ceil(area.Right()) + reach, size.width),
          clamped(std::ceil(area.Bottom()) + reach, size.height)};
}

// The largest reduction that leaves at least `least` pixels of the picture.
int32_t ReductionForPixels(const Decoder& decoder, int64_t least) {
  int32_t reduction = 1;
  for (int32_t next = 1; (next = decoder.NextReduction(next)) != 0 && decoder.StoredAt(next).Pixels() >= least;)
    reduction = next;
  return reduction;
}

// The largest reduction that leaves at least the wanted pixels of the box, both as stored.
int32_t ReductionForPart(const Decoder& decoder, const photo::PixelBox& box, const Extent& wanted) {
  int32_t reduction = 1;
  for (int32_t next = 1; (next = decoder.NextReduction(next)) != 0;) {
    if (box.Width() * decoder.ScaleX(next) < wanted.width || box.Height() * decoder.ScaleY(next) < wanted.height) break;
    reduction = next;
  }
  return reduction;
}

// Where a box lies at a reduction.
photo::Rectangle Reduced(const photo::PixelBox& box, const Decoder& decoder, int32_t reduction) {
  const double x = decoder.ScaleX(reduction), y = decoder.ScaleY(reduction);
  return {box.left * x, box.top * y, box.Width() * x, box.Height() * y};
}

// The box brought to the wanted size, both as stored: decoded at a reduction that leaves enough, then resampled.
photo::Image ResampledPart(const Decoder& decoder, int32_t reduction, const photo::PixelBox& box,
                           const Extent& wanted) {
  photo::Rectangle area = Reduced(box, decoder, reduction);
  const int32_t reach = photo::LanczosReach(std::max(area.width / wanted.width, area.height / wanted.height));
  const photo::PixelBox needed = Covering(area, reach, decoder.StoredAt(reduction));
  area.left -= needed.left;
  area.top -= needed.top;
  return photo::ResizeLanczos(decoder.Decode(reduction, needed, false), area, wanted.width, wanted.height);
}

void CheckPart(const photo::PixelBox& box, int32_t width, int32_t height, const Extent& size) {
  const bool isInside = box.left >= 0 && box.top >= 0 && box.right <= size.width && box.bottom <= size.height;
  if (!isInside || width < 1 || height < 1 || width > box.Width() || height > box.Height())
    throw std::invalid_argument("a part of a photograph lies outside it, is empty or enlarged");
}

}  // namespace

FileSource::FileSource(photo::Bytes file, const Limits& limits)
    : decoder_(std::make_unique<Decoder>(std::move(file), limits)) {}
FileSource::~FileSource() = default;

int32_t FileSource::Width() {
  return decoder_->Upright().width;
}

int32_t FileSource::Height() {
  return decoder_->Upright().height;
}

photo::Image FileSource::Overview(int64_t leastPixels) try {
  if (kept_) return kept_->Overview(leastPixels);
  const int32_t reduction = ReductionForPixels(*decoder_, std::max<int64_t>(leastPixels, 1));
  overviewReduction_ = reduction;
  const bool isSmall = decoder_->Stored().Pixels() <= kSmallPixels;
  if (reduction > 1 || (decoder_->NextReduction(1) != 0 && !isSmall)) return decoder_->DecodeWhole(reduction);
  kept_ = std::make_unique<photo::ImageSource>(decoder_->DecodeWhole(1));
  return kept_->Overview(leastPixels);
} catch (const std::bad_alloc&) {
  throw MemoryFailure();
}

void FileSource::Keep(photo::Image overview) {
  const Extent size = TurnedSize(decoder_->StoredAt(overviewReduction_), decoder_->Orientation());
  if (!kept_ && overview.width == size.width && overview.height == size.height) overview_ = std::move(overview);
}

photo::Image FileSource::Part(const photo::PixelBox& box, int32_t width, int32_t height) try {
  CheckPart(box, width, height, decoder_->Upright());
  if (const auto kept = std::move(kept_)) return kept->Part(box, width, height);
  const Turn& turn = decoder_->Orientation();
  const photo::PixelBox stored = StoredBox(box, turn, decoder_->Stored());
  const Extent wanted = turn.isTransposed ? Extent{height, width} : Extent{width, height};
  const int32_t reduction = ReductionForPart(*decoder_, stored, wanted);
  if (overview_.width > 0 && overviewReduction_ <= reduction) {
    const photo::Rectangle area =
        UprightArea(Reduced(stored, *decoder_, overviewReduction_), turn, decoder_->StoredAt(overviewReduction_));
    return photo::ResizeLanczos(overview_, area, width, height);
  }
  if (box.Width() == width && box.Height() == height) return decoder_->Decode(1, stored, true);
  return Turned(ResampledPart(*decoder_, reduction, stored, wanted), turn);
} catch (const std::bad_alloc&) {
  throw MemoryFailure();
}

photo::Image FileSource::Whole() {
  return decoder_->DecodeWhole(1);
}

std::optional<TransparentPicture> FileSource::Transparent() {
  if (!decoder_->HasOpacity()) return std::nullopt;
  TransparentPicture picture;
  picture.colours = decoder_->DecodeWhole(1, &picture.opacity);
  const photo::Bytes& values = picture.opacity.values;
  if (std::all_of(values.begin(), values.end(), [](uint8_t value) { return value == 255; })) return std::nullopt;
  return picture;
}

std::optional<photo::PrintResolution> FileSource::Resolution() const {
  return decoder_->Resolution();
}

std::optional<photo::JpegQuality> FileSource::Quality() const {
  return QualityOf(decoder_->File());
}

size_t FileSource::FileSize() const {
  return decoder_->File().size();
}

std::optional<EncodedDocument> FileSource::Repacked(int32_t dpi, std::optional<int32_t> minKb,
                                                    std::optional<int32_t> maxKb) const {
  const Turn& turn = decoder_->Orientation();
  if (turn.isTransposed || turn.isMirrored || turn.isUpsideDown) return std::nullopt;
  return RepackedJpeg(decoder_->File(), dpi, minKb, maxKb);
}

photo::Image ReadImage(photo::Bytes file, const Limits& limits) {
  return FileSource(std::move(file), limits).Whole();
}

photo::Mask ReadMask(photo::Bytes file, int32_t width, int32_t height, const Limits& limits) {
  const Decoder decoder(std::move(file), limits);
  const Extent size = decoder.Upright();
  CheckMaskSize(size.width, size.height, width, height);
  photo::Mask opacity;
  const photo::Image image = decoder.DecodeWhole(1, &opacity);
  return MaskOf(image, std::move(opacity));
}

}  // namespace qx::codec
