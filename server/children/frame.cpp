#include "server/children/frame.h"

#include <algorithm>
#include <utility>

namespace qx::server {
namespace {

constexpr uint8_t kMark[4] = {'Q', 'X', 'C', 1};
constexpr size_t kStartBytes = 16, kLengthBytes = 8;
constexpr size_t kLeastRoom = size_t{64} << 10;

uint64_t Number(const uint8_t* bytes, size_t count) {
  uint64_t number = 0;
  for (size_t i = count; i > 0; --i) number = number << 8 | bytes[i - 1];
  return number;
}

void Append(uint64_t number, size_t count, photo::Bytes* bytes) {
  for (size_t i = 0; i < count; ++i) bytes->push_back(static_cast<uint8_t>(number >> (8 * i)));
}

}  // namespace

FrameReader::FrameReader(const FrameLimits& limits) : limits_(limits) {
  Begin(Part::kStart, kStartBytes);
}

void FrameReader::Begin(Part part, size_t length) {
  part_ = part;
  expected_ = length;
  filled_ = 0;
  bytes_ = photo::Bytes();
}

FrameReader::Space FrameReader::Room() {
  if (bytes_.size() == filled_) bytes_.resize(std::min(expected_, filled_ + std::max(filled_, kLeastRoom)));
  return {bytes_.data() + filled_, bytes_.size() - filled_};
}

bool FrameReader::Added(size_t count) {
  filled_ += count;
  // Parts without any bytes follow at once.
  while (part_ != Part::kDone && filled_ == expected_) {
    switch (part_) {
      case Part::kStart: ReadStart(); break;
      case Part::kLengths: ReadLengths(); break;
      case Part::kHeading:
        frame_.heading = std::move(bytes_);
        NextBlob();
        break;
      case Part::kBlobs:
        frame_.blobs.push_back(std::move(bytes_));
        NextBlob();
        break;
      case Part::kDone: break;
    }
  }
  return part_ == Part::kDone;
}

void FrameReader::ReadStart() {
  const uint8_t* const start = bytes_.data();
  if (!std::equal(std::begin(kMark), std::end(kMark), start)) throw BadFrame("no frame of this version");
  frame_.kind = static_cast<uint32_t>(Number(start + 4, 4));
  headingLength_ = Number(start + 8, 4);
  const uint64_t blobs = Number(start + 12, 4);
  if (headingLength_ > limits_.headingBytes || blobs > limits_.blobs) throw BadFrame("a frame beyond the limits");
  blobLengths_.assign(blobs, 0);
  Begin(Part::kLengths, blobs * kLengthBytes);
}

void FrameReader::ReadLengths() {
  size_t left = limits_.blobBytes;
  for (size_t i = 0; i < blobLengths_.size(); ++i) {
    const uint64_t length = Number(bytes_.data() + i * kLengthBytes, kLengthBytes);
    if (length > left) throw BadFrame("a frame beyond the limits");
    blobLengths_[i] = length;
    left -= length;
  }
  Begin(Part::kHeading, headingLength_);
}

void FrameReader::NextBlob() {
  const size_t next = frame_.blobs.size();
  if (next < blobLengths_.size()) return Begin(Part::kBlobs, blobLengths_[next]);
  Begin(Part::kDone, 0);
}

Frame FrameReader::Take() {
  Frame frame = std::move(frame_);
  frame_ = Frame();
  Begin(Part::kStart, kStartBytes);
  return frame;
}

FrameWriter::FrameWriter(Frame frame) {
  photo::Bytes start(std::begin(kMark), std::end(kMark));
  Append(frame.kind, 4, &start);
  Append(frame.heading.size(), 4, &start);
  Append(frame.blobs.size(), 4, &start);
  for (const photo::Bytes& blob : frame.blobs) Append(blob.size(), kLengthBytes, &start);
  start.insert(start.end(), frame.heading.begin(), frame.heading.end());
  parts_.push_back(std::move(start));
  for (photo::Bytes& blob : frame.blobs) parts_.push_back(std::move(blob));
}

FrameWriter::Piece FrameWriter::Rest() const {
  if (IsDone()) return {nullptr, 0};
  return {parts_[part_].data() + offset_, parts_[part_].size() - offset_};
}

void FrameWriter::Sent(size_t count) {
  offset_ += count;
  while (!IsDone() && offset_ == parts_[part_].size()) {
    parts_[part_] = photo::Bytes();
    ++part_;
    offset_ = 0;
  }
}

}  // namespace qx::server
