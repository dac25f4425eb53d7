// Decoding: a file's bytes to pixels in sRGB, whole or in part, at full or reduced size.
#ifndef QX_CODEC_DECODE_H
#define QX_CODEC_DECODE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vips/vips8>

#include "codec/codec.h"
#include "photo/base/failure.h"
#include "photo/base/geometry.h"
#include "photo/base/image.h"

namespace qx::codec {

struct Extent {
  int32_t width = 0, height = 0;
  int64_t Pixels() const { return int64_t{width} * height; }
};

// How an upright picture comes from the one in the file: rows and columns change places, then sides are mirrored.
struct Turn {
  bool isTransposed = false, isMirrored = false, isUpsideDown = false;
};

// The picture as it is to be seen.
photo::Image Turned(photo::Image image, const Turn& turn);
Extent TurnedSize(const Extent& stored, const Turn& turn);
// Where a box of the upright picture lies in the one in the file, whose size is `stored`.
photo::PixelBox StoredBox(const photo::PixelBox& upright, const Turn& turn, const Extent& stored);
// Where a part of the picture in the file, whose size is `size`, lies in the upright one.
photo::Rectangle UprightArea(photo::Rectangle stored, const Turn& turn, const Extent& size);

// One of the formats that are read.
struct Loader;

// A file whose header has been read. Every call throws Failure.
class Decoder {
 public:
  Decoder(photo::Bytes file, const Limits& limits);

  Extent Stored() const { return stored_; }
  Extent Upright() const { return TurnedSize(stored_, turn_); }
  const Turn& Orientation() const { return turn_; }
  const std::optional<photo::PrintResolution>& Resolution() const { return resolution_; }
  bool HasOpacity() const { return hasOpacity_; }  // a channel for it, be the picture opaque or not
  const photo::Bytes& File() const { return file_; }

  // The size as stored when every `reduction` pixels on each side become one.
  Extent StoredAt(int32_t reduction) const;
  // Pixels at that reduction for one at full size, along the rows and columns as stored.
  double ScaleX(int32_t reduction) const;
  double ScaleY(int32_t reduction) const;
  // The next larger reduction that the format can decode at, 0 when there is none.
  int32_t NextReduction(int32_t reduction) const;

  // The box, in pixels as stored at that reduction, turned upright when that is asked for. The file is decoded down to
  // the box's last row. With `opacity`, also how opaque each pixel is (255 where the format knows no transparency); the
  // colours then are the picture's own, otherwise they are on white.
  photo::Image Decode(int32_t reduction, const photo::PixelBox& box, bool isUpright,
                      photo::Mask* opacity = nullptr) const;
  // All of it, upright.
  photo::Image DecodeWhole(int32_t reduction, photo::Mask* opacity = nullptr) const;

 private:
  vips::VImage Load(int32_t reduction) const;
  photo::Image DecodeOnce(int32_t reduction, const photo::PixelBox& box, const Turn& turn, photo::Mask* opacity) const;
  photo::Failure FailureFor(const std::string& message) const;

  photo::Bytes file_;
  const Loader* loader_;
  Extent stored_;
  Turn turn_;
  std::optional<photo::PrintResolution> resolution_;
  bool hasOpacity_ = false;
  int64_t memory_ = int64_t{16} << 20;  // bytes that decoding takes at most, beside the result; first the header
};

}  // namespace qx::codec

#endif  // QX_CODEC_DECODE_H
