#include "codec/jpeg_quality.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

namespace qx::codec {
namespace {

constexpr size_t kSteps = 64, kTables = 4;

// In the zigzag order in which files hold them: ITU-T T.81, tables K.1 (luminance) and K.2 (chrominance).
using Steps = std::array<int32_t, kSteps>;
// clang-format off
constexpr Steps kLuminance{
    16,  11,  12,  14,  12,  10,  16,  14,  13,  14,  18,  17,  16,  19,  24,  40,
    26,  24,  22,  22,  24,  49,  35,  37,  29,  40,  58,  51,  61,  60,  57,  51,
    56,  55,  64,  72,  92,  78,  64,  68,  87,  69,  55,  56,  80, 109,  81,  87,
    95,  98, 103, 104, 103,  62,  77, 113, 121, 112, 100, 120,  92, 101, 103,  99};
constexpr Steps kChrominance{
    17,  18,  18,  24,  21,  24,  47,  26,  26,  47,  99,  66,  56,  66,  99,  99,
    99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99,
    99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99,
    99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99,  99};
// clang-format on

struct Table {
  bool isThere = false, isWide = false;  // wide: steps of 16 bits
  Steps steps{};
};

Steps Scaled(const Steps& base, int32_t quality, bool isWide) {
  const int32_t percent = quality < 50 ? 5000 / quality : 200 - 2 * quality;
  Steps scaled{};
  std::transform(base.begin(), base.end(), scaled.begin(), [percent, isWide](int32_t step) {
    return std::clamp((step * percent + 50) / 100, 1, isWide ? 32767 : 255);
  });
  return scaled;
}

double Mean(const Steps& steps) {
  return std::accumulate(steps.begin(), steps.end(), 0.0) / kSteps;
}

// The bytes of one marker segment, or of the whole file. Past the end there are zeros, and it says so.
class Reader {
 public:
  Reader(const uint8_t* bytes, size_t size) : bytes_(bytes), left_(size) {}

  bool IsGood() const { return good_; }
  size_t Left() const { return left_; }
  uint8_t Byte() {
    if (left_ == 0) good_ = false;
    if (!good_) return 0;
    --left_;
    return *bytes_++;
  }
  int32_t Word() {
    const int32_t high = Byte();
    return high << 8 | Byte();
  }
  Reader Take(size_t size) {
    if (size > left_) good_ = false;
    if (!good_) return {bytes_, 0};
    const Reader part(bytes_, size);
    bytes_ += size;
    left_ -= size;
    return part;
  }

 private:
  const uint8_t* bytes_;
  size_t left_;
  bool good_ = true;
};

struct Header {
  std::array<Table, kTables> tables;
  std::vector<uint8_t> used;  // the table of each component, luminance first
};

bool ReadTables(Reader segment, Header* header) {
  while (segment.Left() > 0) {
    const uint8_t kind = segment.Byte();
    const size_t number = kind & 15;
    if (number >= kTables) return false;
    Table& table = header->tables[number];
    table.isThere = true;
    table.isWide = kind >> 4 != 0;
    for (int32_t& step : table.steps) step = table.isWide ? segment.Word() : segment.Byte();
  }
  return segment.IsGood();
}

bool ReadFrame(Reader segment, Header* header) {
  segment.Take(5);  // bits, height, width
  for (int components = segment.Byte(); components > 0; --components) {
    segment.Take(2);  // name, sampling
    header->used.push_back(segment.Byte());
  }
  return segment.IsGood();
}

bool IsFrame(uint8_t marker) {
  constexpr uint8_t kHuffmanTables = 0xC4, kReserved = 0xC8, kArithmetic = 0xCC;
  return marker >= 0xC0 && marker <= 0xCF && marker != kHuffmanTables && marker != kReserved && marker != kArithmetic;
}

// All that stands before the first scan.
bool ReadHeader(Reader file, Header* header) {
  constexpr uint8_t kPrefix = 0xFF, kStart = 0xD8, kScan = 0xDA, kTablesMarker = 0xDB;
  if (file.Byte() != kPrefix || file.Byte() != kStart) return false;
  while (file.IsGood()) {
    if (file.Byte() != kPrefix) return false;
    uint8_t marker = kPrefix;
    while (marker == kPrefix && file.IsGood()) marker = file.Byte();
    if (marker == kScan) return file.IsGood();
    const int32_t length = file.Word();  // its own two bytes included
    if (length < 2) return false;
    const Reader segment = file.Take(static_cast<size_t>(length) - 2);
    if (!file.IsGood()) return false;
    if (marker == kTablesMarker && !ReadTables(segment, header)) return false;
    if (IsFrame(marker) && !ReadFrame(segment, header)) return false;
  }
  return false;
}

// Whether the tables in use are that quality's. Components of colour may share the luminance's.
bool Fits(const Header& header, int32_t quality) {
  bool first = true;
  for (const uint8_t number : header.used) {
    const Table& table = header.tables[number];
    const bool isLuminance = table.steps == Scaled(kLuminance, quality, table.isWide);
    if (!isLuminance && (first || table.steps != Scaled(kChrominance, quality, table.isWide))) return false;
    first = false;
  }
  return true;
}

}  // namespace

std::optional<photo::JpegQuality> QualityOf(const photo::Bytes& file) {
  Header header;
  if (!ReadHeader({file.data(), file.size()}, &header) || header.used.empty()) return std::nullopt;
  for (const uint8_t number : header.used) {
    if (number >= kTables || !header.tables[number].isThere) return std::nullopt;
  }
  const Table& luminance = header.tables[header.used[0]];
  const double mean = Mean(luminance.steps);
  photo::JpegQuality nearest{100, false};
  double least = -1;
  for (int32_t quality = 100; quality >= 1; --quality) {
    if (Fits(header, quality)) return photo::JpegQuality{quality, true};
    const double off = std::abs(Mean(Scaled(kLuminance, quality, luminance.isWide)) - mean);
    if (least >= 0 && off >= least) continue;
    least = off;
    nearest.quality = quality;
  }
  return nearest;
}

}  // namespace qx::codec
