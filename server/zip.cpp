#include "server/zip.h"

#include <zlib.h>

#include <stdexcept>

namespace qx::server {
namespace {

constexpr uint32_t kLocalMark = 0x04034b50, kCentralMark = 0x02014b50, kEndMark = 0x06054b50;
constexpr uint16_t kVersion = 20, kUtf8Names = 1 << 11;
// The first day that the format knows, 1 January 1980.
constexpr uint16_t kDate = 1 << 5 | 1, kTime = 0;
constexpr uint64_t kMostBytes = 0xFFFFFFFE;
constexpr size_t kMostFiles = 0xFFFE, kMostName = 0xFFFF;

class Writer {
 public:
  void Two(uint64_t number) { Number(number, 2); }
  void Four(uint64_t number) { Number(number, 4); }
  void Text(std::string_view text) { bytes_.insert(bytes_.end(), text.begin(), text.end()); }
  size_t Size() const { return bytes_.size(); }
  Bytes Take() { return std::move(bytes_); }

 private:
  void Number(uint64_t number, int count) {
    for (int i = 0; i < count; ++i) bytes_.push_back(static_cast<uint8_t>(number >> (8 * i)));
  }

  Bytes bytes_;
};

// What a file's own header and its entry in the list at the end have in common.
void AddHead(const ZipFile& file, uint32_t crc, Writer* zip) {
  zip->Two(kVersion);
  zip->Two(kUtf8Names);
  zip->Two(0);  // stored
  zip->Two(kTime);
  zip->Two(kDate);
  zip->Four(crc);
  zip->Four(file.bytes.size());
  zip->Four(file.bytes.size());
  zip->Two(file.name.size());
  zip->Two(0);  // nothing extra
}

void AddEntry(const ZipFile& file, uint32_t crc, size_t place, Writer* list) {
  list->Four(kCentralMark);
  list->Two(kVersion);
  AddHead(file, crc, list);
  list->Two(0);  // no comment
  list->Two(0);  // the first disk
  list->Two(0);
  list->Four(0);
  list->Four(place);
  list->Text(file.name);
}

void CheckSizes(const std::vector<ZipFile>& files) {
  uint64_t all = 0;
  for (const ZipFile& file : files) {
    if (file.name.size() > kMostName) throw std::length_error("a name that is too long for ZIP");
    constexpr uint64_t kHeads = 100;  // bytes around a file, and its name twice
    all += file.bytes.size() + kHeads + 2 * file.name.size();
  }
  if (files.size() > kMostFiles || all > kMostBytes) throw std::length_error("more than ZIP holds");
}

}  // namespace

uint32_t Crc32(std::string_view bytes) {
  return static_cast<uint32_t>(crc32_z(0, reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()));
}

Bytes ZipOf(const std::vector<ZipFile>& files) {
  CheckSizes(files);
  Writer zip, list;
  for (const ZipFile& file : files) {
    const uint32_t crc = Crc32(file.bytes);
    AddEntry(file, crc, zip.Size(), &list);
    zip.Four(kLocalMark);
    AddHead(file, crc, &zip);
    zip.Text(file.name);
    zip.Text(file.bytes);
  }
  const size_t listPlace = zip.Size(), listSize = list.Size();
  const Bytes entries = list.Take();
  zip.Text({reinterpret_cast<const char*>(entries.data()), entries.size()});
  zip.Four(kEndMark);
  zip.Two(0);
  zip.Two(0);
  zip.Two(files.size());
  zip.Two(files.size());
  zip.Four(listSize);
  zip.Four(listPlace);
  zip.Two(0);
  return zip.Take();
}

}  // namespace qx::server
