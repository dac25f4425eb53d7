#include "server/children/message.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>

#include "photo/base/text.h"

namespace qx::server {
namespace {

constexpr size_t kMostNameBytes = 256, kMostValueBytes = 4096, kMostOptions = 256, kMostFields = 256;
constexpr double kMostSeconds = 1e6;

class HeadingWriter {
 public:
  void Number(uint64_t number) {
    for (int i = 0; i < 8; ++i) bytes_.push_back(static_cast<uint8_t>(number >> (8 * i)));
  }
  void Real(double real) {
    uint64_t bits;
    std::memcpy(&bits, &real, sizeof bits);
    Number(bits);
  }
  void Text(std::string_view text) {
    Number(text.size());
    bytes_.insert(bytes_.end(), text.begin(), text.end());
  }
  Frame Done(FrameKind kind) { return {kind, std::move(bytes_), {}}; }

 private:
  photo::Bytes bytes_;
};

class HeadingReader {
 public:
  explicit HeadingReader(const photo::Bytes& bytes) : bytes_(bytes) {}

  uint64_t Number() {
    const uint8_t* const from = Next(8);
    uint64_t number = 0;
    for (int i = 7; i >= 0; --i) number = number << 8 | from[i];
    return number;
  }
  size_t Number(size_t most) {
    const uint64_t number = Number();
    if (number > most) throw BadFrame("a number beyond its limit");
    return number;
  }
  double Real() {
    const uint64_t bits = Number();
    double real;
    std::memcpy(&real, &bits, sizeof real);
    return std::isfinite(real) ? real : 0;
  }
  std::string Text(size_t most) {
    const size_t length = Number(most);
    const uint8_t* const from = Next(length);
    return {reinterpret_cast<const char*>(from), length};
  }
  void End() const {
    if (at_ != bytes_.size()) throw BadFrame("a heading that goes on");
  }

 private:
  const uint8_t* Next(size_t count) {
    if (count > bytes_.size() - at_) throw BadFrame("a heading that ends too early");
    const uint8_t* const from = bytes_.data() + at_;
    at_ += count;
    return from;
  }

  const photo::Bytes& bytes_;
  size_t at_ = 0;
};

void CheckKind(const Frame& frame, FrameKind kind) {
  if (frame.kind != kind) throw BadFrame("a frame out of turn");
}

// Small letters, digits and the marks.
std::string Word(std::string word, std::string_view marks) {
  for (const char c : word) {
    const bool isLetter = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
    if (!isLetter && marks.find(c) == std::string_view::npos) throw BadFrame("a word with odd letters");
  }
  return word;
}

std::string FileName(std::string name) {
  for (const char c : name) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F || std::strchr("/\\\"", c)) throw BadFrame("an odd name");
  }
  if (name.empty() || name[0] == '.') throw BadFrame("an odd name");
  return name;
}

photo::FailureFields ReadFields(HeadingReader& heading) {
  photo::FailureFields fields;
  for (size_t left = heading.Number(kMostFields); left > 0; --left) {
    std::string name = Word(heading.Text(kMostNameBytes), "_");
    std::string word = photo::Printable(heading.Text(kMostValueBytes));
    const double number = heading.Real();
    fields.emplace_back(std::move(name), number);
    fields.back().word = std::move(word);
  }
  return fields;
}

}  // namespace

bool NeedsKept(const ChildRequest& request) {
  return !request.keptId.empty() && request.command != kKeep;
}

ChildReply FailureReply(std::string code, std::string text, photo::FailureFields fields) {
  ChildReply reply;
  reply.kind = ChildReply::Kind::kFailure;
  reply.code = std::move(code);
  reply.text = std::move(text);
  reply.fields = std::move(fields);
  return reply;
}

ChildReply FailureReply(const std::exception& exception) {
  std::string text = photo::ReasonOf(exception);
  if (const auto* failure = dynamic_cast<const photo::Failure*>(&exception))
    return FailureReply(NameOf(failure->Code()), std::move(text), failure->Fields());
  const bool isMemory = dynamic_cast<const std::bad_alloc*>(&exception) != nullptr;
  return FailureReply(NameOf(isMemory ? photo::FailureCode::kOutOfMemory : photo::FailureCode::kEngine),
                      std::move(text));
}

Frame ToFrame(const ChildLimits& limits) {
  HeadingWriter heading;
  for (const uint64_t number :
       {limits.addressBytes, limits.pixels, limits.keptPhotos, limits.keptBytes, limits.keptSeconds})
    heading.Number(number);
  return heading.Done(kLimitsFrame);
}

Frame ReadyFrame() {
  return HeadingWriter().Done(kReadyFrame);
}

Frame ToFrame(uint64_t number, ChildRequest request) {
  HeadingWriter heading;
  heading.Number(number);
  heading.Text(request.command);
  heading.Number(request.options.size());
  for (const auto& [name, value] : request.options) {
    heading.Text(name);
    heading.Text(value);
  }
  heading.Text(request.keptId);
  heading.Text(request.wishedFormat);
  heading.Number(request.copies.size());
  for (const std::string& copies : request.copies) heading.Text(copies);
  Frame frame = heading.Done(kRequestFrame);
  frame.blobs.push_back(std::move(request.photo));
  frame.blobs.push_back(std::move(request.mask));
  for (photo::Bytes& photo : request.morePhotos) frame.blobs.push_back(std::move(photo));
  return frame;
}

Frame ToFrame(uint64_t number, ChildReply reply) {
  HeadingWriter heading;
  heading.Number(number);
  heading.Number(reply.kind == ChildReply::Kind::kFailure ? 1 : 0);
  heading.Text(reply.report);
  heading.Text(reply.code);
  heading.Text(reply.text);
  heading.Number(reply.fields.size());
  for (const photo::FailureField& field : reply.fields) {
    heading.Text(field.name);
    heading.Text(field.word);
    heading.Real(field.number);
  }
  for (const double seconds : reply.seconds) heading.Real(seconds);
  for (const ChildPicture& picture : reply.pictures) {
    heading.Text(picture.name);
    heading.Text(picture.type);
  }
  Frame frame = heading.Done(kReplyFrame);
  for (ChildPicture& picture : reply.pictures) frame.blobs.push_back(std::move(picture.bytes));
  return frame;
}

ChildLimits LimitsOf(const Frame& frame) {
  CheckKind(frame, kLimitsFrame);
  HeadingReader heading(frame.heading);
  ChildLimits limits;
  for (uint64_t* const number :
       {&limits.addressBytes, &limits.pixels, &limits.keptPhotos, &limits.keptBytes, &limits.keptSeconds})
    *number = heading.Number();
  heading.End();
  return limits;
}

NumberedRequest RequestOf(Frame frame) {
  CheckKind(frame, kRequestFrame);
  if (frame.blobs.size() < 2 || frame.blobs.size() > kMostSheetPhotos + 1) {
    throw BadFrame("a request has a photograph, a mask and as many more as a sheet takes");
  }
  HeadingReader heading(frame.heading);
  NumberedRequest numbered{heading.Number(), {}};
  ChildRequest& request = numbered.request;
  request.command = heading.Text(kMostNameBytes);
  for (size_t left = heading.Number(kMostOptions); left > 0; --left) {
    std::string name = heading.Text(kMostNameBytes);
    request.options.emplace_back(std::move(name), heading.Text(kMostValueBytes));
  }
  request.keptId = heading.Text(kMostNameBytes);
  request.wishedFormat = heading.Text(kMostNameBytes);
  for (size_t left = heading.Number(kMostSheetPhotos); left > 0; --left) {
    request.copies.push_back(heading.Text(kMostValueBytes));
  }
  heading.End();
  request.photo = std::move(frame.blobs[0]);
  request.mask = std::move(frame.blobs[1]);
  for (size_t i = 2; i < frame.blobs.size(); ++i) request.morePhotos.push_back(std::move(frame.blobs[i]));
  return numbered;
}

NumberedReply ReplyOf(Frame frame) {
  CheckKind(frame, kReplyFrame);
  HeadingReader heading(frame.heading);
  NumberedReply numbered{heading.Number(), {}};
  ChildReply& reply = numbered.reply;
  reply.kind = heading.Number(1) == 1 ? ChildReply::Kind::kFailure : ChildReply::Kind::kAnswer;
  reply.report = heading.Text(frame.heading.size());
  reply.code = Word(heading.Text(kMostNameBytes), "_");
  reply.text = photo::Printable(heading.Text(kMostValueBytes));
  reply.fields = ReadFields(heading);
  for (double& seconds : reply.seconds) seconds = std::clamp(heading.Real(), 0.0, kMostSeconds);
  for (photo::Bytes& blob : frame.blobs) {
    std::string name = FileName(heading.Text(kMostNameBytes));
    std::string type = Word(heading.Text(kMostNameBytes), "/+-.");
    reply.pictures.push_back({std::move(name), std::move(type), std::move(blob)});
  }
  heading.End();
  return numbered;
}

}  // namespace qx::server
