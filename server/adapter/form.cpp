#include "server/adapter/form.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "server/adapter/base64.h"
#include "server/http/access.h"
#include "server/http/multipart.h"
#include "server/http/problem.h"
#include "server/http/query.h"

namespace qx::server {
namespace {

constexpr std::string_view kFile = "input_image", kText = "input_image_base64";

// A field whose value lies in the body.
struct Field {
  std::string name;
  size_t begin = 0, size = 0;
};

Problem BadForm(const std::string& text) {
  return {400, "bad_form", "the form is malformed: " + text};
}

int HexDigit(uint8_t c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Decodes [begin, end) of the body in its place; returns the new end. A picture is too large for a copy of its own.
size_t DecodeInPlace(Bytes* body, size_t begin, size_t end) {
  uint8_t* const bytes = body->data();
  size_t to = begin;
  for (size_t from = begin; from < end; ++from) {
    if (bytes[from] != '%') {
      bytes[to++] = bytes[from] == '+' ? uint8_t{' '} : bytes[from];
      continue;
    }
    const int high = from + 2 < end ? HexDigit(bytes[from + 1]) : -1;
    const int low = from + 2 < end ? HexDigit(bytes[from + 2]) : -1;
    if (high < 0 || low < 0) throw BadForm("a percent sign without two hexadecimal digits");
    bytes[to++] = static_cast<uint8_t>(high * 16 + low);
    from += 2;
  }
  return to;
}

std::vector<Field> UrlEncodedFields(Bytes* body, const Limits& limits) {
  std::vector<Field> fields;
  const auto find = [body](size_t from, size_t to, char c) {
    const auto first = body->begin() + static_cast<std::ptrdiff_t>(from);
    return from + static_cast<size_t>(std::find(first, body->begin() + static_cast<std::ptrdiff_t>(to), c) - first);
  };
  for (size_t begin = 0; begin < body->size();) {
    const size_t end = find(begin, body->size(), '&'), equals = find(begin, end, '=');
    if (end > begin) {
      if (fields.size() == limits.parts) throw BadForm("it has too many fields");
      const size_t nameEnd = DecodeInPlace(body, begin, equals);
      Field field{{}, std::min(equals + 1, end), 0};
      field.name.assign(body->begin() + static_cast<std::ptrdiff_t>(begin),
                        body->begin() + static_cast<std::ptrdiff_t>(nameEnd));
      field.size = DecodeInPlace(body, field.begin, end) - field.begin;
      fields.push_back(std::move(field));
    }
    begin = end + 1;
  }
  return fields;
}

std::vector<Field> FieldsOf(Bytes* body, std::string_view contentType, const Limits& limits) {
  const std::string boundary = BoundaryOf(contentType);
  if (boundary.empty()) {
    const std::string_view kind = contentType.substr(0, contentType.find_first_of("; "));
    if (!SameWord(kind, "application/x-www-form-urlencoded")) {
      throw Problem(415, "unsupported_form",
                    "a form is wanted: multipart/form-data or application/x-www-form-urlencoded");
    }
    return UrlEncodedFields(body, limits);
  }
  std::vector<Field> fields;
  const std::string_view text(reinterpret_cast<const char*>(body->data()), body->size());
  for (const Part& part : ParseMultipart(text, boundary, limits)) {
    if (!part.fileName.empty() && part.name != kFile) throw BadForm("it has a file other than \"input_image\"");
    fields.push_back({part.name, part.begin, part.size});
  }
  return fields;
}

void Decode(Bytes* picture) {
  constexpr std::string_view kScheme = "data:", kMark = ";base64,";
  constexpr size_t kLongestHead = 200;
  const std::string_view head(reinterpret_cast<const char*>(picture->data()), std::min(picture->size(), kLongestHead));
  if (SameWord(head.substr(0, kScheme.size()), kScheme)) {
    const size_t mark = head.find(kMark);
    const bool first = mark != std::string_view::npos && head.find(',') == mark + kMark.size() - 1;
    if (!first) throw BadForm("a data: URL without \";base64,\"");
    picture->erase(picture->begin(), picture->begin() + static_cast<std::ptrdiff_t>(mark + kMark.size()));
  }
  if (!DecodeBase64(picture)) {
    throw Problem(400, "bad_option", "input_image_base64: is no base64", {{"option", std::string(kText)}});
  }
}

}  // namespace

Form ReadForm(Bytes body, std::string_view contentType, const Limits& limits) {
  Form form;
  const std::vector<Field> fields = FieldsOf(&body, contentType, limits);
  const Field* picture = nullptr;
  const auto at = [&body](size_t offset) { return body.begin() + static_cast<std::ptrdiff_t>(offset); };
  for (const Field& field : fields) {
    if (field.name == kFile || field.name == kText) {
      // Clients that know both send the other one empty.
      if (field.size == 0) continue;
      if (picture) throw BadForm("it has more than one picture");
      picture = &field;
      continue;
    }
    std::string value(at(field.begin), at(field.begin + field.size));
    CheckOption(field.name, value, limits);
    form.fields.emplace_back(field.name, std::move(value));
  }
  if (!picture) throw Problem(400, "no_photo", "the form has no picture: input_image or input_image_base64");
  const bool isText = picture->name == kText;
  body.erase(at(picture->begin + picture->size), body.end());
  body.erase(body.begin(), at(picture->begin));
  form.picture = std::move(body);
  if (isText) Decode(&form.picture);
  if (form.picture.empty()) throw Problem(400, "no_photo", "the form's picture is empty");
  return form;
}

}  // namespace qx::server
