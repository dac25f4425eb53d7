// Frames: what a server and its children say to each other, as bytes of a stream. A frame is a heading, which is small,
// and blobs, which need not be. Whoever reads one believes none of its numbers: both sides read what may come from a
// process that a hostile photograph has taken over.
//
// Layout, numbers little-endian: "QXC" and the version (1 byte); kind, length of the heading and number of blobs
// (4 bytes each); the length of each blob (8 bytes each); the heading; the blobs.
#ifndef QX_SERVER_CHILDREN_FRAME_H
#define QX_SERVER_CHILDREN_FRAME_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include "photo/base/image.h"

namespace qx::server {

// Thrown for bytes that are no frame within the limits. The stream is of no use after it.
class BadFrame : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Frame {
  uint32_t kind = 0;
  photo::Bytes heading;
  std::vector<photo::Bytes> blobs;
};

// The most that a request to a child may bring along, in millions of bytes: a frame holds it.
constexpr int kMostMegabytes = 250;

// The most that a frame may hold.
struct FrameLimits {
  size_t headingBytes = size_t{16} << 20;
  size_t blobs = 256;
  size_t blobBytes = size_t{256} << 20;  // of all together
};
static_assert(FrameLimits().blobBytes >= size_t{kMostMegabytes} * 1'000'000);

// Takes a frame out of a stream that comes in pieces of any size.
class FrameReader {
 public:
  explicit FrameReader(const FrameLimits& limits = {});

  struct Space {
    uint8_t* data;
    size_t size;  // never 0
  };
  // Where the stream's next bytes go. Grows with what has come, not with what is announced.
  Space Room();
  // So many bytes were put there: true when they complete a frame. Throws BadFrame.
  bool Added(size_t count);
  // The complete frame; the reader then waits for the next one.
  Frame Take();
  // Nothing of a frame has come yet.
  bool IsEmpty() const { return part_ == Part::kStart && filled_ == 0; }

 private:
  enum class Part { kStart, kLengths, kHeading, kBlobs, kDone };
  void Begin(Part part, size_t length);
  void ReadStart();
  void ReadLengths();
  void NextBlob();

  const FrameLimits limits_;
  Part part_ = Part::kStart;
  photo::Bytes bytes_;                // of the part that is read
  size_t filled_ = 0, expected_ = 0;  // bytes of it that are there, and all
  size_t headingLength_ = 0;
  std::vector<size_t> blobLengths_;
  Frame frame_;
};

// A frame on its way out, in pieces of any size. The blobs are not copied.
class FrameWriter {
 public:
  explicit FrameWriter(Frame frame);

  struct Piece {
    const uint8_t* data;
    size_t size;  // 0 when all is out
  };
  Piece Rest() const;
  void Sent(size_t count);
  bool IsDone() const { return part_ == parts_.size(); }

 private:
  std::vector<photo::Bytes> parts_;
  size_t part_ = 0, offset_ = 0;
};

}  // namespace qx::server

#endif  // QX_SERVER_CHILDREN_FRAME_H
