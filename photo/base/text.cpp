#include "photo/base/text.h"

#include <cstdint>
#include <cstdio>

namespace qx::photo {
namespace {

// C0 and C1 control characters and DEL.
bool IsControl(std::string_view character) {
  const auto first = static_cast<uint8_t>(character[0]);
  if (character.size() == 1) return first < 0x20 || first == 0x7F;
  return first == 0xC2 && static_cast<uint8_t>(character[1]) < 0xA0;
}

}  // namespace

size_t Utf8Length(std::string_view text) {
  auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
  const uint8_t first = byte(0);
  if (first < 0x80) return 1;
  const size_t length = first >= 0xC2 && first < 0xE0 ? 2 : first >= 0xE0 && first < 0xF0 ? 3 : 4;
  if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
  // The second byte excludes overlong forms, surrogates and numbers above U+10FFFF.
  const uint8_t low = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
  const uint8_t high = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
  if (byte(1) < low || byte(1) > high) return 0;
  for (size_t i = 2; i < length; ++i) {
    if (byte(i) < 0x80 || byte(i) > 0xBF) return 0;
  }
  return length;
}

std::string Printable(std::string_view text) {
  std::string line;
  while (!text.empty()) {
    const size_t length = Utf8Length(text);
    const std::string_view character = text.substr(0, length == 0 ? 1 : length);
    if (length != 0 && !IsControl(character)) {
      line += character;
    } else {
      for (const char c : character) {
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned>(static_cast<uint8_t>(c)));
        line += escape;
      }
    }
    text.remove_prefix(character.size());
  }
  return line;
}

std::string Count(size_t number, std::string_view noun) {
  return std::to_string(number) + " " + std::string(noun) + (number == 1 ? "" : "s");
}

std::string HashDigits(std::string_view bytes) {
  uint64_t hash = 14695981039346656037u;
  for (const char c : bytes) hash = (hash ^ static_cast<uint8_t>(c)) * 1099511628211u;
  char digits[17];
  std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hash));
  return digits;
}

}  // namespace qx::photo
