#include "server/http/query.h"

#include <algorithm>

#include "photo/base/text.h"
#include "server/http/problem.h"

namespace qx::server {
namespace {

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// RFC 3986, section 2.1. Throws Problem for a percent sign without two digits.
std::string PercentDecoded(std::string_view text, bool plusIsSpace) {
  std::string decoded;
  decoded.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded += text[i] == '+' && plusIsSpace ? ' ' : text[i];
      continue;
    }
    const int high = i + 2 < text.size() ? HexDigit(text[i + 1]) : -1;
    const int low = i + 2 < text.size() ? HexDigit(text[i + 2]) : -1;
    if (high < 0 || low < 0) throw Problem(400, "bad_target", "a percent sign without two hexadecimal digits");
    decoded += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return decoded;
}

bool IsPlainText(std::string_view text) {
  const bool control =
      std::any_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; });
  if (control) return false;
  while (!text.empty()) {
    const size_t length = photo::Utf8Length(text);
    // U+0080 to U+009F are controls too.
    if (length == 0 || (text[0] == '\xC2' && static_cast<unsigned char>(text[1]) < 0xA0)) return false;
    text.remove_prefix(length);
  }
  return true;
}

// Takes the text up to the next separator, which goes too.
std::string_view TakeUntil(std::string_view* text, char separator) {
  const size_t end = std::min(text->find(separator), text->size());
  const std::string_view taken = text->substr(0, end);
  text->remove_prefix(std::min(end + 1, text->size()));
  return taken;
}

std::vector<std::string> ParsePath(std::string_view path) {
  if (path.empty() || path[0] != '/') throw Problem(400, "bad_target", "a path begins with a slash");
  std::vector<std::string> segments;
  path.remove_prefix(1);
  // A slash at the end is an empty segment too, but for the root's own.
  if (path.empty()) return segments;
  const auto count = static_cast<size_t>(std::count(path.begin(), path.end(), '/')) + 1;
  while (segments.size() < count) {
    std::string segment = PercentDecoded(TakeUntil(&path, '/'), false);
    const bool dots = segment == "." || segment == "..";
    if (segment.empty() || dots || segment.find_first_of("/\\") != std::string::npos || !IsPlainText(segment)) {
      throw Problem(400, "bad_target", "a path has no empty parts, dots, encoded slashes or control characters");
    }
    segments.push_back(std::move(segment));
  }
  return segments;
}

}  // namespace

void CheckOption(std::string_view name, std::string_view value, const Limits& limits) {
  if (name.empty() || name.size() > limits.nameBytes || !IsPlainText(name)) {
    throw Problem(400, "bad_option", "an option's name is empty, too long or no text");
  }
  if (value.size() > limits.valueBytes || !IsPlainText(value)) {
    throw Problem(400, "bad_option", std::string(name) + ": the value is too long or no text",
                  {{"option", std::string(name)}});
  }
}

Pairs ParseQuery(std::string_view query, const Limits& limits) {
  Pairs pairs;
  while (!query.empty()) {
    std::string_view value = TakeUntil(&query, '&');
    if (value.empty()) continue;
    if (pairs.size() == limits.parts) throw Problem(400, "bad_option", "too many options");
    std::string name = PercentDecoded(TakeUntil(&value, '='), true);
    std::string text = PercentDecoded(value, true);
    CheckOption(name, text, limits);
    pairs.emplace_back(std::move(name), std::move(text));
  }
  return pairs;
}

Target ParseTarget(std::string_view target, const Limits& limits) {
  Target parsed;
  if (target == "*") {
    parsed.everything = true;
    return parsed;
  }
  for (const std::string_view scheme : {"http://", "https://"}) {
    if (target.substr(0, scheme.size()) != scheme) continue;
    target.remove_prefix(scheme.size());
    const size_t end = std::min(target.find_first_of("/?"), target.size());
    parsed.authority = target.substr(0, end);
    target.remove_prefix(end);
    if (parsed.authority.empty()) throw Problem(400, "bad_target", "an address without a host");
    break;
  }
  const std::string_view path = TakeUntil(&target, '?');
  if (!path.empty() || parsed.authority.empty()) parsed.segments = ParsePath(path);
  parsed.query = ParseQuery(target, limits);
  return parsed;
}

}  // namespace qx::server
