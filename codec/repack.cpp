// A JPEG file in new wrapping: its compressed pixels as they are, of everything else only what is needed to show them.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "codec/codec.h"
#include "codec/jpeg_parts.h"
#include "codec/jpeg_quality.h"
#include "photo/document/presets.h"

namespace qx::codec {
namespace {

using namespace std::string_view_literals;

// ITU-T T.81, table B.1.
constexpr uint8_t kStart = 0xD8, kEnd = 0xD9, kScan = 0xDA, kFirstRestart = 0xD0, kLastRestart = 0xD7;
constexpr uint8_t kApplication0 = 0xE0, kApplication2 = 0xE2, kApplication14 = 0xEE, kApplication15 = 0xEF;
constexpr uint8_t kComment = 0xFE;
constexpr uint8_t kFrames[] = {0xC0, 0xC1, 0xC2};  // baseline, extended and progressive, all with Huffman codes

class Repacking {
 public:
  explicit Repacking(const photo::Bytes& file)
      : file_(reinterpret_cast<const char*>(file.data()), file.size()), packed_{0xFF, kStart} {}

  // The file up to its end; false where it is not one whose pixels can stay.
  bool Run(int32_t dpi) {
    const std::vector<uint8_t> jfif = JfifSegment(dpi);
    packed_.insert(packed_.end(), jfif.begin(), jfif.end());
    if (file_.substr(0, 2) != "\xFF\xD8"sv) return false;
    for (at_ = 2; at_ + 2 <= file_.size();) {
      if (Byte(at_) != 0xFF) return false;
      const uint8_t marker = Byte(at_ + 1);
      if (marker == 0xFF) {  // a filler
        ++at_;
        continue;
      }
      if (marker == kEnd) {
        packed_.insert(packed_.end(), {0xFF, kEnd});
        return hasFrame_ && hasScan_;
      }
      if (!TakeSegment(marker)) return false;
    }
    return false;
  }

  std::vector<uint8_t>& Packed() { return packed_; }

 private:
  uint8_t Byte(size_t at) const { return static_cast<uint8_t>(file_[at]); }

  void Copy(size_t from, size_t to) {
    packed_.insert(packed_.end(), file_.begin() + static_cast<std::ptrdiff_t>(from),
                   file_.begin() + static_cast<std::ptrdiff_t>(to));
  }

  bool TakeSegment(uint8_t marker) {
    if (at_ + 4 > file_.size()) return false;
    const size_t length = static_cast<size_t>(Byte(at_ + 2) << 8 | Byte(at_ + 3));
    const size_t end = at_ + 2 + length;
    if (length < 2 || end > file_.size()) return false;
    const std::string_view content = file_.substr(at_ + 4, length - 2);
    const bool isFrame = std::find(std::begin(kFrames), std::end(kFrames), marker) != std::end(kFrames);
    if (isFrame && !TakeFrame(content)) return false;
    // Red, green and blue as they are, which no JFIF file holds.
    if (marker == kApplication14 && content.substr(0, 5) == "Adobe"sv && (content.size() < 12 || content[11] != 1)) {
      return false;
    }
    if (!IsLeftOut(marker, content)) Copy(at_, end);
    at_ = end;
    if (marker != kScan) return true;
    hasScan_ = true;
    return TakeScan();
  }

  // Eight bits; grey, or luminance and colour differences: all that JFIF (ITU-T T.871) knows.
  bool TakeFrame(std::string_view content) {
    if (content.size() < 6 || content[0] != 8) return false;
    const auto components = static_cast<size_t>(static_cast<uint8_t>(content[5]));
    if (content.size() < 6 + 3 * components) return false;
    const bool isRgb = components == 3 && content[6] == 'R' && content[9] == 'G' && content[12] == 'B';
    hasFrame_ = (components == 1 || components == 3) && !isRgb;
    return hasFrame_;
  }

  // Everything for applications but the colour profile.
  static bool IsLeftOut(uint8_t marker, std::string_view content) {
    if (marker == kApplication2) return content.substr(0, 12) != "ICC_PROFILE\0"sv;
    return marker == kComment || (marker >= kApplication0 && marker <= kApplication15);
  }

  // Up to the next marker that ends the coded data.
  bool TakeScan() {
    for (size_t i = at_; i + 1 < file_.size(); ++i) {
      const uint8_t next = Byte(i + 1);
      if (Byte(i) != 0xFF || next == 0 || next == 0xFF || (next >= kFirstRestart && next <= kLastRestart)) continue;
      Copy(at_, i);
      at_ = i;
      return true;
    }
    return false;
  }

  std::string_view file_;
  size_t at_ = 0;
  bool hasFrame_ = false, hasScan_ = false;
  std::vector<uint8_t> packed_;
};

}  // namespace

std::optional<EncodedDocument> RepackedJpeg(const photo::Bytes& file, int32_t dpi, std::optional<int32_t> minKb,
                                            std::optional<int32_t> maxKb) {
  Repacking repacking(file);
  if (!repacking.Run(dpi)) return std::nullopt;
  EncodedDocument document;
  document.bytes = std::move(repacking.Packed());
  const auto quality = QualityOf(file);
  document.quality = quality ? quality->quality : 0;
  const int64_t floor = minKb ? *minKb * photo::kFloorKilobyte : 0;
  const int64_t ceiling = maxKb ? *maxKb * photo::kCeilingKilobyte : std::numeric_limits<int64_t>::max();
  const auto size = static_cast<int64_t>(document.bytes.size());
  if (size < floor) {
    document.padding = PaddingFor(floor - size);
    PadJpeg(&document.bytes, document.padding);
  }
  if (static_cast<int64_t>(document.bytes.size()) > ceiling) return std::nullopt;
  return document;
}

}  // namespace qx::codec
