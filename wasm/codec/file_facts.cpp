#include "wasm/codec/file_facts.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "codec/print_resolution.h"
#include "codec/profile.h"
#include "wasm/codec/jpeg.h"
#include "wasm/codec/png.h"

namespace qx::codec {
namespace {

using namespace std::string_view_literals;

constexpr double kMillimetresPerCentimetre = 10;

// Numbers out of bytes that may end at any place; past the end they are 0.
class Numbers {
 public:
  Numbers(std::string_view bytes, bool isBigEndian) : bytes_(bytes), isBigEndian_(isBigEndian) {}

  uint32_t Short(size_t at) const { return Read(at, 2); }
  uint32_t Long(size_t at) const { return Read(at, 4); }

 private:
  uint32_t Read(size_t at, size_t size) const {
    if (at > bytes_.size() || bytes_.size() - at < size) return 0;
    uint32_t number = 0;
    for (size_t i = 0; i < size; ++i) {
      number = number << 8 | static_cast<uint8_t>(bytes_[at + (isBigEndian_ ? i : size - 1 - i)]);
    }
    return number;
  }

  std::string_view bytes_;
  bool isBigEndian_;
};

// As the file has it: pixels a millimetre, 1 where nothing is told.
struct Told {
  double across = 1, down = 1;
  int orientation = 0;
};

double PerMillimetre(double density, bool isPerInch) {
  return density / (isPerInch ? photo::kMillimetresPerInch : kMillimetresPerCentimetre);
}

// A TIFF structure's first directory (EXIF 2.32, 4.6).
void ReadExif(std::string_view exif, Told* told) {
  const bool isBigEndian = exif.substr(0, 2) == "MM"sv;
  const Numbers numbers(exif, isBigEndian);
  if (numbers.Short(2) != 42) return;
  const size_t directory = numbers.Long(4);
  const auto rational = [&](size_t entry) {
    const size_t at = numbers.Long(entry + 8);
    const double below = numbers.Long(at + 4);
    return below > 0 ? numbers.Long(at) / below : 0;
  };
  double across = 0, down = 0;
  uint32_t unit = 0;
  const uint32_t count = numbers.Short(directory);
  for (uint32_t i = 0; i < count; ++i) {
    const size_t entry = directory + 2 + size_t{12} * i;
    if (entry >= exif.size()) return;
    switch (numbers.Short(entry)) {
      case 0x0112: told->orientation = static_cast<int>(numbers.Short(entry + 8)); break;
      case 0x011A: across = rational(entry); break;
      case 0x011B: down = rational(entry); break;
      case 0x0128: unit = numbers.Short(entry + 8); break;
      default: break;
    }
  }
  constexpr uint32_t kInch = 2, kCentimetre = 3;
  if (across <= 0 || down <= 0 || (unit != kInch && unit != kCentimetre)) return;
  told->across = PerMillimetre(across, unit == kInch);
  told->down = PerMillimetre(down, unit == kInch);
}

// A JFIF header (ITU-T T.871, 10.1), behind its name.
void ReadJfif(std::string_view header, Told* told) {
  const Numbers numbers(header, true);
  const uint32_t unit = numbers.Short(1) & 0xFF;
  if (unit != 1 && unit != 2) return;
  told->across = PerMillimetre(numbers.Short(3), unit == 1);
  told->down = PerMillimetre(numbers.Short(5), unit == 1);
}

// Calls use(marker, content) for each segment before the first scan.
template <typename Use>
void ForEachSegment(const photo::Bytes& jpeg, Use use) {
  const std::string_view file(reinterpret_cast<const char*>(jpeg.data()), jpeg.size());
  constexpr uint8_t kScan = 0xDA, kFiller = 0xFF;
  for (size_t at = 2; at + 4 <= file.size();) {
    if (static_cast<uint8_t>(file[at]) != 0xFF) return;
    const auto marker = static_cast<uint8_t>(file[at + 1]);
    if (marker == kFiller) {
      ++at;
      continue;
    }
    const size_t length = Numbers(file, true).Short(at + 2);
    if (marker == kScan || length < 2) return;
    use(marker, file.substr(at + 4, length - 2));
    at += 2 + length;
  }
}

void ReadJpegFacts(const photo::Bytes& jpeg, Told* told) {
  std::string_view exif;
  ForEachSegment(jpeg, [&](uint8_t marker, std::string_view content) {
    if (marker == 0xE0 && content.substr(0, 5) == "JFIF\0"sv) ReadJfif(content.substr(5), told);
    if (marker == 0xE1 && content.substr(0, 6) == "Exif\0\0"sv && exif.empty()) exif = content.substr(6);
  });
  // What EXIF says counts for more.
  ReadExif(exif, told);
}

void ReadPngFacts(const photo::Bytes& png, Told* told) {
  const std::string_view file(reinterpret_cast<const char*>(png.data()), png.size());
  const Numbers numbers(file, true);
  constexpr size_t kSignature = 8, kAround = 12;
  for (size_t at = kSignature; at + kAround <= file.size();) {
    const std::string_view kind = file.substr(at + 4, 4);
    if (kind == "IDAT"sv) return;
    if (kind == "pHYs"sv && numbers.Long(at) == 9 && file.size() > at + 16 && file[at + 16] == 1) {
      told->across = numbers.Long(at + 8) / 1000.0;
      told->down = numbers.Long(at + 12) / 1000.0;
    }
    at += kAround + size_t{numbers.Long(at)};
  }
}

}  // namespace

FileFacts FactsOf(const photo::Bytes& file) {
  Told told;
  if (IsJpeg(file)) ReadJpegFacts(file, &told);
  if (IsPng(file)) ReadPngFacts(file, &told);
  return {told.orientation, ResolutionOf(told.across, told.down, told.orientation)};
}

bool HasOtherProfile(const photo::Bytes& jpeg) {
  // ICC.1, B.4: the name and two numbers, then a piece of the profile.
  constexpr size_t kHead = 14;
  std::string profile;
  ForEachSegment(jpeg, [&profile](uint8_t marker, std::string_view content) {
    const bool isPiece = marker == 0xE2 && content.size() > kHead && content.substr(0, 12) == "ICC_PROFILE\0"sv;
    if (isPiece) profile += content.substr(kHead);
  });
  return !profile.empty() && !IsSrgbProfile(profile);
}

}  // namespace qx::codec
