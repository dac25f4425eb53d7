// Any stream as frames between a server and its children, cut into pieces of any size, and any frame as messages.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>

#include "server/children/frame.h"
#include "server/children/message.h"

namespace {

using namespace qx::server;

constexpr FrameLimits kLimits{4096, 8, 4096};

void Expect(bool isSo) {
  if (!isSo) std::abort();
}

Frame Again(Frame frame, size_t piece) {
  FrameWriter writer(std::move(frame));
  FrameReader reader(kLimits);
  bool isComplete = false;
  while (!writer.IsDone()) {
    const FrameWriter::Piece rest = writer.Rest();
    const FrameReader::Space room = reader.Room();
    const size_t count = std::min({rest.size, room.size, piece});
    Expect(!isComplete && count > 0);
    std::copy_n(rest.data, count, room.data);
    writer.Sent(count);
    isComplete = reader.Added(count);
  }
  Expect(isComplete);
  return reader.Take();
}

// What can be read is the same when it is written and read again.
void ReadMessages(const Frame& frame) {
  try {
    NumberedRequest request = RequestOf(frame);
    const Frame again = ToFrame(request.number, std::move(request.request));
    Expect(again.heading == frame.heading && again.blobs == frame.blobs);
  } catch (const BadFrame&) {
  }
  try {
    NumberedReply reply = ReplyOf(frame);
    Expect(reply.reply.pictures.size() == frame.blobs.size());
    for (const ChildPicture& picture : reply.reply.pictures) {
      Expect(picture.name.find('/') == std::string::npos && picture.type.find('\n') == std::string::npos);
    }
    for (const qx::photo::FailureField& field : reply.reply.fields) Expect(field.number - field.number == 0);
    for (const double seconds : reply.reply.seconds) Expect(seconds >= 0 && seconds < 1e7);
  } catch (const BadFrame&) {
  }
  try {
    Expect(ToFrame(LimitsOf(frame)).heading == frame.heading);
  } catch (const BadFrame&) {
  }
}

// A heading of the fuzzer's choosing in a frame that is right.
void ReadHeading(FuzzedDataProvider& input) {
  Frame frame;
  frame.kind = input.ConsumeIntegralInRange<uint32_t>(1, 4);
  frame.blobs.resize(input.ConsumeIntegralInRange<size_t>(0, kMostSheetPhotos + 2));
  const std::string heading = input.ConsumeRemainingBytesAsString();
  frame.heading.assign(heading.begin(), heading.end());
  ReadMessages(frame);
}

void ReadStream(FuzzedDataProvider& input) {
  const size_t piece = input.ConsumeIntegralInRange<size_t>(1, 600);
  const std::string stream = input.ConsumeRemainingBytesAsString();
  FrameReader reader(kLimits);
  try {
    for (size_t at = 0; at < stream.size();) {
      const FrameReader::Space room = reader.Room();
      Expect(room.size > 0);
      const size_t count = std::min({room.size, stream.size() - at, piece});
      std::copy_n(stream.data() + at, count, room.data);
      at += count;
      if (!reader.Added(count)) continue;
      const Frame frame = reader.Take();
      const Frame again = Again(frame, piece);
      Expect(again.kind == frame.kind && again.heading == frame.heading && again.blobs == frame.blobs);
      ReadMessages(frame);
    }
  } catch (const BadFrame&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  input.ConsumeBool() ? ReadStream(input) : ReadHeading(input);
  return 0;
}
