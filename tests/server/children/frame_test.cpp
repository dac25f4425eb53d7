// Frames and messages: what goes in comes out, however the stream is cut; what is no message is refused.
#include "server/children/frame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "server/children/message.h"

namespace qx::server {
namespace {

photo::Bytes BytesOf(const std::string& text) {
  return {text.begin(), text.end()};
}

std::string TextOf(const photo::Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}

std::string Written(Frame frame, size_t most = SIZE_MAX) {
  FrameWriter writer(std::move(frame));
  std::string stream;
  while (!writer.IsDone()) {
    const FrameWriter::Piece piece = writer.Rest();
    const size_t count = std::min(piece.size, most);
    stream.append(reinterpret_cast<const char*>(piece.data), count);
    writer.Sent(count);
  }
  return stream;
}

// The frames of a stream that comes in pieces of at most that many bytes.
std::vector<Frame> Read(const std::string& stream, size_t most, const FrameLimits& limits = {}) {
  FrameReader reader(limits);
  std::vector<Frame> frames;
  for (size_t at = 0; at < stream.size();) {
    const FrameReader::Space room = reader.Room();
    const size_t count = std::min({room.size, most, stream.size() - at});
    std::copy_n(stream.begin() + static_cast<ptrdiff_t>(at), count, room.data);
    at += count;
    if (reader.Added(count)) frames.push_back(reader.Take());
  }
  EXPECT_TRUE(reader.IsEmpty());
  return frames;
}

TEST(Frames, ComeOutAsTheyWentInHoweverTheStreamIsCut) {
  const Frame large{7, BytesOf("heading"), {BytesOf(std::string(300'000, 'x')), {}, BytesOf("end")}};
  const std::string stream = Written(large, 1000) + Written({9, {}, {}}) + Written({1, BytesOf("h"), {{}}});
  for (const size_t most : {size_t{1}, size_t{7}, size_t{65'537}, stream.size()}) {
    const std::vector<Frame> frames = Read(stream, most);
    ASSERT_EQ(3u, frames.size());
    EXPECT_EQ(7u, frames[0].kind);
    EXPECT_EQ("heading", TextOf(frames[0].heading));
    EXPECT_TRUE(frames[0].blobs == large.blobs);
    EXPECT_TRUE(frames[1].kind == 9 && frames[1].heading.empty() && frames[1].blobs.empty());
    EXPECT_TRUE(frames[2].blobs.size() == 1 && frames[2].blobs[0].empty());
  }
}

TEST(Frames, BeyondTheirLimitsAreRefusedBeforeMemoryIsTaken) {
  const std::string good = Written({7, BytesOf("12345"), {BytesOf("123"), BytesOf("456")}});
  EXPECT_EQ(1u, Read(good, 5, {5, 2, 6}).size());
  for (const FrameLimits& limits : {FrameLimits{4, 2, 6}, FrameLimits{5, 1, 6}, FrameLimits{5, 2, 5}})
    EXPECT_THROW(Read(good, 5, limits), BadFrame);
  std::string wrongMark = good, wrongVersion = good, endless = good;
  wrongMark[0] = 'X';
  wrongVersion[3] = 2;
  std::fill_n(endless.begin() + 16, 8, '\xFF');
  for (const std::string& bad : {wrongMark, wrongVersion, endless}) EXPECT_THROW(Read(bad, 1), BadFrame);
  // 200 MB are announced, 40 bytes come.
  std::string announced = good;
  announced[16 + 3] = 12;
  FrameReader reader;
  for (const char c : announced) {
    const FrameReader::Space room = reader.Room();
    ASSERT_LE(room.size, size_t{1} << 17);
    *room.data = static_cast<uint8_t>(c);
    reader.Added(1);
  }
}

TEST(Messages, ComeOutAsTheyWentIn) {
  ChildRequest request{"make", {{"preset", "de"}, {"preset", ""}}, BytesOf("photo"), BytesOf("mask"), "id"};
  request.wishedFormat = "png";
  request.morePhotos = {BytesOf("two"), {}};
  request.copies = {"", "0", "4"};
  const NumberedRequest asked = RequestOf(ToFrame(1ull << 40, request));
  EXPECT_EQ(1ull << 40, asked.number);
  EXPECT_EQ(request.command, asked.request.command);
  EXPECT_EQ(request.options, asked.request.options);
  EXPECT_EQ(request.photo, asked.request.photo);
  EXPECT_EQ(request.mask, asked.request.mask);
  EXPECT_EQ(request.keptId, asked.request.keptId);
  EXPECT_EQ(request.wishedFormat, asked.request.wishedFormat);
  EXPECT_EQ(request.morePhotos, asked.request.morePhotos);
  EXPECT_EQ(request.copies, asked.request.copies);

  ChildReply reply;
  reply.report = "{\"a\":1}";
  reply.pictures = {{"a.jpg", "image/jpeg", BytesOf("jpeg")}, {"b.png", "image/png", {}}};
  reply.seconds = {0, 0.5, 1, 0, 2, 3};
  const NumberedReply told = ReplyOf(ToFrame(5, reply));
  EXPECT_TRUE(told.number == 5 && told.reply.kind == ChildReply::Kind::kAnswer && told.reply.report == reply.report);
  ASSERT_EQ(2u, told.reply.pictures.size());
  EXPECT_EQ("b.png", told.reply.pictures[1].name);
  EXPECT_EQ(reply.seconds, told.reply.seconds);
  EXPECT_EQ("image/jpeg", told.reply.pictures[0].type);
  EXPECT_EQ("jpeg", TextOf(told.reply.pictures[0].bytes));

  const photo::Failure failure(photo::FailureCode::kNoFit, "no fit", {{"bound", "head"}, {"got", 0.5}});
  const ChildReply failed = ReplyOf(ToFrame(6, FailureReply(failure))).reply;
  EXPECT_TRUE(failed.kind == ChildReply::Kind::kFailure && failed.code == "no_fit" && failed.text == "no fit");
  ASSERT_EQ(2u, failed.fields.size());
  EXPECT_TRUE(failed.fields[0].word == "head" && failed.fields[1].word.empty() && failed.fields[1].number == 0.5);
}

// A child that something else has taken over says what it likes; none of it may harm those who hand it on.
TEST(Messages, OfATakenOverChildCarryNothingHarmful) {
  auto replyWith = [](const std::string& name, const std::string& type, const std::string& code) {
    ChildReply reply = FailureReply(code, "a\r\nb\x1b[2J", {{"n", std::numeric_limits<double>::quiet_NaN()}});
    reply.pictures.push_back({name, type, {}});
    reply.seconds = {-1, std::numeric_limits<double>::infinity(), 1e300, std::nan(""), 1, 0};
    return ReplyOf(ToFrame(1, reply)).reply;
  };
  const ChildReply cleaned = replyWith("a.jpg", "image/jpeg", "no_face");
  EXPECT_EQ("a\\x0D\\x0Ab\\x1B[2J", cleaned.text);
  EXPECT_EQ(0, cleaned.fields[0].number);
  EXPECT_EQ((StageSeconds{0, 0, 1e6, 0, 1, 0}), cleaned.seconds);
  for (const char* name : {"", ".", "../a", "a/b", "a\\b", "a\"b", "a\nb"})
    EXPECT_THROW(replyWith(name, "image/jpeg", "no_face"), BadFrame) << name;
  for (const char* type : {"image/jpeg\r\nX: y", "text/html;a"})
    EXPECT_THROW(replyWith("a.jpg", type, "no_face"), BadFrame) << type;
  EXPECT_THROW(replyWith("a.jpg", "image/jpeg", "No\nface"), BadFrame);
}

TEST(Messages, CutOrOutOfTurnAreRefused) {
  const Frame whole = ToFrame(1, ChildRequest{"make", {{"preset", "de"}}, BytesOf("photo"), {}, "id"});
  for (size_t length = 0; length < whole.heading.size(); ++length) {
    Frame cut = whole;
    cut.heading.resize(length);
    EXPECT_THROW(RequestOf(cut), BadFrame) << length;
  }
  Frame longer = whole, alone = whole;
  longer.heading.push_back(0);
  alone.blobs.pop_back();
  Frame many = whole;
  many.blobs.resize(kMostSheetPhotos + 2);
  EXPECT_THROW(RequestOf(many), BadFrame);
  many.blobs.pop_back();
  EXPECT_EQ(kMostSheetPhotos - 1, RequestOf(many).request.morePhotos.size());
  EXPECT_THROW(RequestOf(longer), BadFrame);
  EXPECT_THROW(RequestOf(alone), BadFrame);
  EXPECT_THROW(ReplyOf(whole), BadFrame);
  EXPECT_THROW(LimitsOf(whole), BadFrame);
}

}  // namespace
}  // namespace qx::server
