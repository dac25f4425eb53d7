#include "server/http/multipart.h"

#include <algorithm>

#include "server/http/access.h"
#include "server/http/problem.h"
#include "server/http/query.h"

namespace qx::server {
namespace {

Problem BadForm(const std::string& text) {
  return {400, "bad_form", "the form is malformed: " + text};
}

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

// A value after "=", bare or in quotation marks; removes it from the text. Browsers write a quotation mark inside as
// %22 and leave backslashes as they are; other programs write \".
std::string TakeValue(std::string_view* text) {
  std::string value;
  if (text->empty() || text->front() != '"') {
    const size_t end = std::min(text->find(';'), text->size());
    value = Trimmed(text->substr(0, end));
    text->remove_prefix(end);
    return value;
  }
  for (size_t i = 1; i < text->size(); ++i) {
    const char c = (*text)[i];
    if (c == '"') {
      text->remove_prefix(i + 1);
      return value;
    }
    const bool escaped = c == '\\' && i + 1 < text->size() && (*text)[i + 1] == '"';
    value += escaped ? (*text)[++i] : c;
  }
  throw BadForm("a quotation mark is missing");
}

// "; name=value" of a header, again and again. Each name once.
Pairs Parameters(std::string_view text) {
  Pairs pairs;
  for (;;) {
    text = Trimmed(text);
    if (text.empty()) return pairs;
    if (text.front() != ';') throw BadForm("a semicolon is missing");
    text = Trimmed(text.substr(1));
    if (text.empty()) return pairs;
    const size_t equals = text.find('=');
    if (equals == std::string_view::npos) throw BadForm("a parameter has no value");
    const std::string_view name = Trimmed(text.substr(0, equals));
    text = Trimmed(text.substr(equals + 1));
    for (const auto& [known, value] : pairs) {
      if (SameWord(known, name)) throw BadForm("a parameter comes twice");
    }
    pairs.emplace_back(name, TakeValue(&text));
  }
}

std::string ValueOf(const Pairs& parameters, std::string_view name) {
  for (const auto& [known, value] : parameters) {
    if (SameWord(known, name)) return value;
  }
  return "";
}

std::string WithoutFolders(const std::string& name) {
  const size_t folder = name.find_last_of("/\\");
  return folder == std::string::npos ? name : name.substr(folder + 1);
}

void ReadHeader(std::string_view line, Part* part) {
  const size_t colon = line.find(':');
  if (colon == std::string_view::npos) throw BadForm("a line of a part's head has no colon");
  const std::string_view name = line.substr(0, colon), value = Trimmed(line.substr(colon + 1));
  if (SameWord(name, "Content-Type")) {
    part->type = value;
  } else if (SameWord(name, "Content-Transfer-Encoding")) {
    const bool plain = SameWord(value, "binary") || SameWord(value, "8bit") || SameWord(value, "7bit");
    if (!plain) throw BadForm("files come as they are, in no encoding");
  } else if (SameWord(name, "Content-Disposition")) {
    const size_t end = std::min(value.find(';'), value.size());
    if (!SameWord(Trimmed(value.substr(0, end)), "form-data")) throw BadForm("a part is no form-data");
    const Pairs parameters = Parameters(value.substr(end));
    part->name = ValueOf(parameters, "name");
    part->fileName = WithoutFolders(ValueOf(parameters, "filename"));
  }
}

void ReadHead(std::string_view head, Part* part) {
  while (!head.empty()) {
    const size_t end = std::min(head.find("\r\n"), head.size());
    ReadHeader(head.substr(0, end), part);
    head.remove_prefix(std::min(end + 2, head.size()));
  }
  if (part->name.empty()) throw BadForm("a part has no name");
}

// Walks over a body from delimiter to delimiter.
class Walk {
 public:
  Walk(std::string_view body, std::string_view boundary, size_t mostHead)
      : body_(body), delimiter_("\r\n--" + std::string(boundary)), mostHead_(mostHead) {}

  // Goes past the first delimiter, which has no line before it unless there is a preamble.
  void Begin() {
    const std::string_view bare = std::string_view(delimiter_).substr(2);
    if (body_.substr(0, bare.size()) == bare) {
      at_ = bare.size();
    } else {
      FindDelimiter(0);
    }
  }
  // After a delimiter: whether it was the last.
  bool AtEnd() const { return body_.substr(at_, 2) == "--"; }

  Part Next() {
    Part part;
    while (at_ < body_.size() && (body_[at_] == ' ' || body_[at_] == '\t')) ++at_;
    if (body_.substr(at_, 2) != "\r\n") throw BadForm("a boundary has no line of its own");
    // From that line's end on, so that a head without lines is found too.
    const size_t length = body_.substr(at_, mostHead_ + 4).find("\r\n\r\n");
    if (length == std::string_view::npos) throw BadForm("a part's head is too long or has no end");
    if (length > 0) ReadHead(body_.substr(at_ + 2, length - 2), &part);
    if (part.name.empty()) throw BadForm("a part has no name");
    part.begin = at_ + length + 4;
    part.size = FindDelimiter(part.begin) - part.begin;
    return part;
  }

 private:
  // Goes past the next delimiter and returns where it began. A longer word that begins like the boundary is content.
  size_t FindDelimiter(size_t from) {
    for (;;) {
      const size_t found = body_.find(delimiter_, from);
      if (found == std::string_view::npos) throw BadForm("it ends too early");
      at_ = found + delimiter_.size();
      const std::string_view after = body_.substr(at_, 2);
      if (after == "--" || after == "\r\n" || (!after.empty() && (after[0] == ' ' || after[0] == '\t'))) return found;
      from = found + 2;
    }
  }

  const std::string_view body_;
  const std::string delimiter_;
  const size_t mostHead_;
  size_t at_ = 0;
};

}  // namespace

std::string BoundaryOf(std::string_view contentType) {
  const size_t end = std::min(contentType.find(';'), contentType.size());
  const std::string_view kind = Trimmed(contentType.substr(0, end));
  constexpr std::string_view kMultipart = "multipart/";
  if (!SameWord(kind.substr(0, kMultipart.size()), kMultipart)) return "";
  if (!SameWord(kind, "multipart/form-data")) {
    throw Problem(415, "unsupported_form", "a form with files is multipart/form-data");
  }
  std::string boundary = ValueOf(Parameters(contentType.substr(end)), "boundary");
  // RFC 2046, section 5.1.1.
  constexpr size_t kLongest = 70;
  const bool usual = std::all_of(boundary.begin(), boundary.end(), [](char c) {
    const bool letter = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    return letter || std::string_view("'()+_,-./:=? ").find(c) != std::string_view::npos;
  });
  if (boundary.empty() || boundary.size() > kLongest || boundary.back() == ' ' || !usual) {
    throw BadForm("the boundary is missing or against the rules");
  }
  return boundary;
}

std::vector<Part> ParseMultipart(std::string_view body, std::string_view boundary, const Limits& limits) {
  Walk walk(body, boundary, limits.partHeadBytes);
  walk.Begin();
  std::vector<Part> parts;
  while (!walk.AtEnd()) {
    if (parts.size() == limits.parts) throw BadForm("it has too many parts");
    parts.push_back(walk.Next());
  }
  return parts;
}

namespace {

// What is found in a form, in its order.
struct FormFiles {
  std::vector<const Part*> photos;
  const Part* mask = nullptr;
};

class FormReader {
 public:
  FormReader(std::string_view body, const Limits& limits, Request* request)
      : body_(body),
        limits_(limits),
        request_(*request),
        mostPhotos_(request->route.place == Place::kCommand && request->route.name == "sheet" ? limits.sheetPhotos
                                                                                              : 1) {}

  FormFiles Read(const std::vector<Part>& parts) {
    for (const Part& part : parts) Take(part);
    return files_;
  }

 private:
  void Take(const Part& part) {
    if (part.name == "photo") {
      if (files_.photos.size() == mostPhotos_) throw TooMany(part.name);
      files_.photos.push_back(&part);
    } else if (part.name == "mask") {
      if (files_.mask) throw TooMany(part.name);
      files_.mask = &part;
    } else if (!part.fileName.empty()) {
      throw Problem(400, "bad_form", "the form has a file other than \"photo\" and \"mask\"");
    } else {
      TakeOption(part);
    }
  }

  void TakeOption(const Part& part) {
    const std::string_view value = body_.substr(part.begin, part.size);
    CheckOption(part.name, value, limits_);
    if (mostPhotos_ > 1 && part.name == "copies" && !files_.photos.empty()) return TakeCopies(value);
    if (request_.options.size() >= limits_.parts) throw Problem(400, "bad_option", "too many options");
    request_.options.emplace_back(part.name, value);
  }

  void TakeCopies(std::string_view value) {
    if (request_.copies.size() == files_.photos.size()) {
      throw Problem(400, "bad_option", "copies: comes twice for one photograph", {{"option", "copies"}});
    }
    request_.copies.resize(files_.photos.size());
    request_.copies.back() = value;
  }

  Problem TooMany(const std::string& name) const {
    if (mostPhotos_ == 1 || name == "mask") {
      return {400, "bad_form", "the form has more than one file \"" + name + "\""};
    }
    return {400,
            "bad_form",
            "the form has more photographs than a sheet takes here, " + std::to_string(mostPhotos_),
            {{"limit", static_cast<double>(mostPhotos_)}}};
  }

  const std::string_view body_;
  const Limits& limits_;
  Request& request_;
  const size_t mostPhotos_;
  FormFiles files_;
};

}  // namespace

void TakeForm(Bytes body, std::string_view boundary, const Limits& limits, Request* request) {
  const std::string_view text(reinterpret_cast<const char*>(body.data()), body.size());
  const std::vector<Part> parts = ParseMultipart(text, boundary, limits);
  const FormFiles files = FormReader(text, limits, request).Read(parts);
  const bool isMissing = files.photos.empty() || std::any_of(files.photos.begin(), files.photos.end(),
                                                             [](const Part* photo) { return photo->size == 0; });
  if (isMissing) throw Problem(400, "no_photo", "the form has no file \"photo\", or an empty one");
  const auto at = [&body](size_t offset) { return body.begin() + static_cast<std::ptrdiff_t>(offset); };
  const auto copy = [&at](const Part& part) { return Bytes(at(part.begin), at(part.begin + part.size)); };
  if (files.mask) request->mask = copy(*files.mask);
  for (size_t i = 1; i < files.photos.size(); ++i) request->morePhotos.push_back(copy(*files.photos[i]));
  const Part& first = *files.photos[0];
  request->photoName = first.fileName;
  request->contentType = first.type;
  body.erase(at(first.begin + first.size), body.end());
  body.erase(body.begin(), at(first.begin));
  request->photo = std::move(body);
}

}  // namespace qx::server
