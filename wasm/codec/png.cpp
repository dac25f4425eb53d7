#include "wasm/codec/png.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <string_view>

#include "codec/profile.h"
#include "photo/document/units.h"

namespace qx::codec {
namespace {

using namespace std::string_view_literals;

constexpr std::array<uint8_t, 8> kSignature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr uint8_t kGrey = 0, kColour = 2, kColourAndOpacity = 6;
constexpr size_t kHeaderSize = 13;
constexpr char kName[] = "PNG";

void PutWord(std::vector<uint8_t>* to, uint32_t word) {
  for (int shift = 24; shift >= 0; shift -= 8) to->push_back(static_cast<uint8_t>(word >> shift));
}

uint32_t WordAt(const uint8_t* from) {
  return uint32_t{from[0]} << 24 | uint32_t{from[1]} << 16 | uint32_t{from[2]} << 8 | uint32_t{from[3]};
}

void PutChunk(std::vector<uint8_t>* to, std::string_view kind, const uint8_t* bytes, size_t size) {
  PutWord(to, static_cast<uint32_t>(size));
  const size_t begin = to->size();
  to->insert(to->end(), kind.begin(), kind.end());
  to->insert(to->end(), bytes, bytes + size);
  PutWord(to, static_cast<uint32_t>(crc32(0, to->data() + begin, static_cast<uInt>(to->size() - begin))));
}

void PutChunk(std::vector<uint8_t>* to, std::string_view kind, const std::vector<uint8_t>& bytes) {
  PutChunk(to, kind, bytes.data(), bytes.size());
}

// The rows, each behind the number of its filter (none), compressed as the command's own writer does it.
std::vector<uint8_t> Compressed(const photo::Bytes& samples, size_t rowBytes) {
  const size_t rows = samples.size() / rowBytes;
  z_stream stream{};
  if (deflateInit(&stream, 6) != Z_OK) throw std::bad_alloc();
  std::vector<uint8_t> packed(deflateBound(&stream, static_cast<uLong>(samples.size() + rows)));
  stream.next_out = packed.data();
  stream.avail_out = static_cast<uInt>(packed.size());
  std::vector<uint8_t> row(1 + rowBytes);
  for (size_t y = 0; y < rows; ++y) {
    std::memcpy(row.data() + 1, samples.data() + y * rowBytes, rowBytes);
    stream.next_in = row.data();
    stream.avail_in = static_cast<uInt>(row.size());
    deflate(&stream, y + 1 == rows ? Z_FINISH : Z_NO_FLUSH);
  }
  packed.resize(packed.size() - stream.avail_out);
  deflateEnd(&stream);
  return packed;
}

struct Header {
  int32_t width = 0, height = 0;
  int channels = 0;
};

Header ReadHeader(const uint8_t* chunk, int64_t mostPixels) {
  const uint32_t width = WordAt(chunk), height = WordAt(chunk + 4);
  constexpr uint32_t kMost = std::numeric_limits<int32_t>::max();
  if (width == 0 || height == 0 || width > kMost || height > kMost) throw Damaged(kName);
  CheckSize(width, height, mostPixels);
  const uint8_t depth = chunk[8], kind = chunk[9], interlaced = chunk[12];
  if (depth != 8 || interlaced != 0 || (kind != kGrey && kind != kColour && kind != kColourAndOpacity)) {
    throw ForTheBrowser(kName);
  }
  return {static_cast<int32_t>(width), static_cast<int32_t>(height), kind == kGrey ? 1 : kind == kColour ? 3 : 4};
}

// ISO/IEC 15948, 9.4: of left, above and upper left, the one that is nearest to left + above - upper left.
uint8_t Paeth(int left, int above, int corner) {
  const int toLeft = std::abs(above - corner), toAbove = std::abs(left - corner);
  const int toCorner = std::abs(left + above - 2 * corner);
  if (toLeft <= toAbove && toLeft <= toCorner) return static_cast<uint8_t>(left);
  return static_cast<uint8_t>(toAbove <= toCorner ? above : corner);
}

// The beginning of the profile in such a chunk, where it tells what it is; nothing of one that cannot be unpacked.
std::string ProfileIn(const uint8_t* chunk, size_t size) {
  constexpr uLong kMost = 1 << 16;
  const uint8_t* const name = std::find(chunk, chunk + size, 0);
  const size_t head = static_cast<size_t>(name - chunk) + 2;  // the name's end and the method
  if (head >= size) return {};
  std::string profile(kMost, '\0');
  z_stream stream{};
  stream.next_in = const_cast<uint8_t*>(chunk + head);
  stream.avail_in = static_cast<uInt>(size - head);
  stream.next_out = reinterpret_cast<uint8_t*>(profile.data());
  stream.avail_out = static_cast<uInt>(kMost);
  if (inflateInit(&stream) != Z_OK) throw std::bad_alloc();
  inflate(&stream, Z_FINISH);
  profile.resize(kMost - stream.avail_out);
  inflateEnd(&stream);
  return profile;
}

// Undoes the filter of one row in place. `above`: the row before it, of zeros for the first.
void Unfilter(uint8_t filter, size_t channels, size_t size, const uint8_t* above, uint8_t* row) {
  for (size_t i = 0; i < size; ++i) {
    const bool isFirst = i < channels;
    const int left = isFirst ? 0 : row[i - channels], corner = isFirst ? 0 : above[i - channels];
    int predicted = 0;
    switch (filter) {
      case 0: return;
      case 1: predicted = left; break;
      case 2: predicted = above[i]; break;
      case 3: predicted = (left + above[i]) / 2; break;
      case 4: predicted = Paeth(left, above[i], corner); break;
      default: throw Damaged(kName);
    }
    row[i] = static_cast<uint8_t>(row[i] + predicted);
  }
}

// Unpacks rows out of the data of one chunk after the other.
class RowReader {
 public:
  explicit RowReader(const Header& header)
      : channels_(static_cast<size_t>(header.channels)),
        rowBytes_(static_cast<size_t>(header.width) * channels_),
        samples_(rowBytes_ * static_cast<size_t>(header.height)),
        row_(1 + rowBytes_),
        above_(rowBytes_) {
    if (inflateInit(&stream_) != Z_OK) throw std::bad_alloc();
    Begin();
  }
  ~RowReader() { inflateEnd(&stream_); }
  RowReader(const RowReader&) = delete;
  RowReader& operator=(const RowReader&) = delete;

  void Add(const uint8_t* bytes, size_t size) {
    stream_.next_in = const_cast<uint8_t*>(bytes);
    stream_.avail_in = static_cast<uInt>(size);
    while (stream_.avail_in > 0 && !IsDone()) {
      const int result = inflate(&stream_, Z_NO_FLUSH);
      if (result != Z_OK && result != Z_STREAM_END) throw Damaged(kName);
      if (stream_.avail_out == 0) EndRow();
      if (result == Z_STREAM_END && !IsDone()) throw Damaged(kName);
    }
  }

  bool IsDone() const { return filled_ == samples_.size(); }
  const photo::Bytes& Samples() const { return samples_; }

 private:
  void Begin() {
    stream_.next_out = row_.data();
    stream_.avail_out = static_cast<uInt>(row_.size());
  }

  void EndRow() {
    Unfilter(row_[0], channels_, rowBytes_, above_.data(), row_.data() + 1);
    std::copy(row_.begin() + 1, row_.end(), above_.begin());
    std::copy(row_.begin() + 1, row_.end(), samples_.begin() + static_cast<std::ptrdiff_t>(filled_));
    filled_ += rowBytes_;
    Begin();
  }

  const size_t channels_, rowBytes_;
  photo::Bytes samples_;
  std::vector<uint8_t> row_, above_;
  size_t filled_ = 0;
  z_stream stream_{};
};

}  // namespace

std::vector<uint8_t> WritePng(const photo::Bytes& samples, int32_t width, int32_t height, int channels,
                              std::optional<int32_t> dpi) {
  constexpr size_t kDataInChunk = 8192;
  std::vector<uint8_t> file(kSignature.begin(), kSignature.end());
  std::vector<uint8_t> header;
  PutWord(&header, static_cast<uint32_t>(width));
  PutWord(&header, static_cast<uint32_t>(height));
  const uint8_t kind = channels == 1 ? kGrey : channels == 3 ? kColour : kColourAndOpacity;
  header.insert(header.end(), {8, kind, 0, 0, 0});
  PutChunk(&file, "IHDR"sv, header);
  // A pixel a millimetre stands for "unknown", as in the files of the command.
  const double perMillimetre = dpi ? *dpi / photo::kMillimetresPerInch : 1;
  const auto perMetre = static_cast<uint32_t>(std::lround(perMillimetre * 1000));
  std::vector<uint8_t> resolution;
  PutWord(&resolution, perMetre);
  PutWord(&resolution, perMetre);
  resolution.push_back(1);  // a metre
  PutChunk(&file, "pHYs"sv, resolution);
  const std::vector<uint8_t> packed = Compressed(samples, static_cast<size_t>(width) * static_cast<size_t>(channels));
  for (size_t at = 0; at < packed.size(); at += kDataInChunk) {
    PutChunk(&file, "IDAT"sv, packed.data() + at, std::min(kDataInChunk, packed.size() - at));
  }
  PutChunk(&file, "IEND"sv, {});
  return file;
}

bool IsPng(const photo::Bytes& file) {
  return file.size() >= kSignature.size() && std::equal(kSignature.begin(), kSignature.end(), file.begin());
}

Pixels ReadPng(const photo::Bytes& file, int64_t mostPixels) {
  constexpr size_t kAround = 12;  // length, name and checksum of a chunk
  Header header;
  std::optional<RowReader> rows;
  for (size_t at = kSignature.size(); at + kAround <= file.size();) {
    const size_t size = WordAt(file.data() + at);
    if (size > file.size() - at - kAround) throw Damaged(kName);
    const uint8_t* const chunk = file.data() + at + 8;
    const std::string_view kind(reinterpret_cast<const char*>(chunk) - 4, 4);
    if (WordAt(chunk + size) != crc32(0, chunk - 4, static_cast<uInt>(size + 4))) throw Damaged(kName);
    if (kind == "IHDR"sv && !rows) {
      if (size != kHeaderSize) throw Damaged(kName);
      header = ReadHeader(chunk, mostPixels);
      rows.emplace(header);
    } else if (kind == "tRNS"sv || (kind == "iCCP"sv && !IsSrgbProfile(ProfileIn(chunk, size)))) {
      throw ForTheBrowser(kName);
    } else if (kind == "IDAT"sv) {
      if (!rows) throw Damaged(kName);
      rows->Add(chunk, size);
    }
    at += kAround + size;
  }
  if (!rows || !rows->IsDone()) throw Damaged(kName);
  return PixelsOf(rows->Samples().data(), header.width, header.height, header.channels);
}

}  // namespace qx::codec
