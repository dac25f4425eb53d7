#include "server/adapter/base64.h"

#include <array>

namespace qx::server {
namespace {

constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr uint8_t kNone = 255;

constexpr std::array<uint8_t, 256> Values() {
  std::array<uint8_t, 256> values{};
  for (uint8_t& value : values) value = kNone;
  for (size_t i = 0; i < kLetters.size(); ++i) values[static_cast<uint8_t>(kLetters[i])] = static_cast<uint8_t>(i);
  return values;
}

}  // namespace

bool DecodeBase64(Bytes* text) {
  static constexpr std::array<uint8_t, 256> kValues = Values();
  uint32_t bits = 0;
  size_t letters = 0, padding = 0, length = 0;
  Bytes& bytes = *text;
  for (const uint8_t letter : bytes) {
    if (letter == '\r' || letter == '\n') continue;
    if (letter == '=') {
      ++padding;
      continue;
    }
    const uint8_t value = kValues[letter];
    if (value == kNone || padding > 0) return false;
    bits = bits << 6 | value;
    // Never ahead of the reading: three bytes come of four letters.
    if (++letters % 4 != 1) bytes[length++] = static_cast<uint8_t>(bits >> (6 - 2 * ((letters - 1) % 4)));
  }
  const size_t left = letters % 4;
  if (left == 1 || (padding > 0 && left + padding != 4)) return false;
  bytes.resize(length);
  return true;
}

size_t Base64Length(size_t bytes) {
  return (bytes + 2) / 3 * 4;
}

void AppendBase64(const uint8_t* bytes, size_t count, Bytes* text) {
  const auto append = [text](uint32_t bits, size_t letters) {
    for (size_t i = 0; i < 4; ++i) {
      text->push_back(i < letters ? static_cast<uint8_t>(kLetters[bits >> (18 - 6 * i) & 63]) : uint8_t{'='});
    }
  };
  size_t i = 0;
  for (; i + 3 <= count; i += 3) append(uint32_t{bytes[i]} << 16 | uint32_t{bytes[i + 1]} << 8 | bytes[i + 2], 4);
  if (count - i == 1) append(uint32_t{bytes[i]} << 16, 2);
  if (count - i == 2) append(uint32_t{bytes[i]} << 16 | uint32_t{bytes[i + 1]} << 8, 3);
}

}  // namespace qx::server
