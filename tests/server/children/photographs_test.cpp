// Photographs in children: the command's bytes, hostile files, and photographs that are kept.
#include <gtest/gtest.h>

#include <string>

#include "server/children/children.h"
#include "support/test_files.h"
#include "test_worker.h"

namespace qx::server {
namespace {

using namespace qx::test;
using Kind = ChildReply::Kind;
using Options = std::vector<std::pair<std::string, std::string>>;

ChildrenSettings Settings(size_t count) {
  ChildrenSettings settings;
  settings.count = count;
  settings.requestTime = std::chrono::seconds(120);
  settings.startTime = std::chrono::seconds(60);
  settings.waitTime = std::chrono::seconds(120);
  return settings;
}

photo::Bytes FileOf(const std::filesystem::path& path) {
  const std::string bytes = ReadBytes(path);
  return {bytes.begin(), bytes.end()};
}

std::string PictureOf(const ChildReply& reply) {
  if (reply.pictures.size() != 1) return "no picture: " + reply.text;
  return {reply.pictures[0].bytes.begin(), reply.pictures[0].bytes.end()};
}

// What the command makes of the sample with that document and background.
std::string ByCommand(const TestFolder& folder, const std::string& preset, const std::string& background) {
  RunProgram(folder, {"make", QX_SAMPLE_PHOTO, "-o", "out.jpg", "--preset", preset, "--background", background});
  return ReadBytes(folder / "out.jpg");
}

TEST(ChildrenPhotographs, HaveTheCommandsBytes) {
  if (std::string(QX_SAMPLE_PHOTO).empty()) GTEST_SKIP() << "no sample photograph";
  const TestFolder folder;
  Children children(Settings(1));
  const photo::Bytes sample = FileOf(QX_SAMPLE_PHOTO);
  const Options visa{{"preset", "schengen-visa"}, {"background", "#d0e0f0"}},
      passport{{"preset", "de-passport"}, {"background", "white"}};
  const std::string visaFile = ByCommand(folder, "schengen-visa", "#d0e0f0");
  const std::string passportFile = ByCommand(folder, "de-passport", "white");
  ASSERT_GT(visaFile.size(), 1000u);
  EXPECT_EQ(visaFile, PictureOf(Waited(children, {"make", visa, sample, {}, ""}).Get()));

  const ChildReply kept = Waited(children, {"keep", {}, sample, {}, "secret"}).Get();
  EXPECT_TRUE(Contains(kept.report, "\"width\":512")) << kept.report << kept.text;
  EXPECT_TRUE(Eventually([&] { return children.State().keptPhotos == 1; }));
  EXPECT_EQ(passportFile, PictureOf(Waited(children, {"render", passport, {}, {}, "secret"}).Get()));
  EXPECT_EQ(visaFile, PictureOf(Waited(children, {"render", visa, {}, {}, "secret"}).Get()));
  EXPECT_EQ(kNotKept, Waited(children, {"render", visa, {}, {}, "Secret"}).Get().code);
  Ask(children, "drop", "secret");
  EXPECT_EQ(kNotKept, Waited(children, {"render", visa, {}, {}, "secret"}).Get().code);
  EXPECT_TRUE(Contains(Waited(children, {"inspect", {}, sample, {}, ""}).Get().report, "corners"));
}

TEST(ChildrenPhotographs, AreKeptInNumberAndOutliveTheirChildsShare) {
  if (std::string(QX_SAMPLE_PHOTO).empty()) GTEST_SKIP() << "no sample photograph";
  ChildrenSettings settings = Settings(1);
  settings.limits.keptPhotos = 2;
  settings.requestsOfChild = 3;
  Children children(settings);
  const photo::Bytes sample = FileOf(QX_SAMPLE_PHOTO);
  for (const char* id : {"a", "b", "c"}) Waited(children, {"keep", {}, sample, {}, id}).Get();
  const Options visa{{"preset", "schengen-visa"}};
  EXPECT_EQ(kNotKept, Waited(children, {"render", visa, {}, {}, "a"}).Get().code);
  // The child has had its share, but keeps two; another one takes what is new.
  EXPECT_EQ(Kind::kAnswer, Waited(children, {"make", visa, sample, {}, ""}).Get().kind);
  EXPECT_EQ(2u, children.State().ready);
  EXPECT_EQ(Kind::kAnswer, Waited(children, {"render", visa, {}, {}, "b"}).Get().kind);
  Ask(children, "drop", "b");
  Ask(children, "drop", "c");
  EXPECT_TRUE(Eventually([&] { return children.State().replaced == 1; }));
  EXPECT_EQ(0u, children.State().died);
}

TEST(ChildrenPhotographs, KeptByChildrenThatHadTheirShareDoNotPileUp) {
  if (std::string(QX_SAMPLE_PHOTO).empty()) GTEST_SKIP() << "no sample photograph";
  ChildrenSettings settings = Settings(1);
  settings.requestsOfChild = 1;
  Children children(settings);
  const photo::Bytes sample = FileOf(QX_SAMPLE_PHOTO);
  const Options visa{{"preset", "schengen-visa"}};
  for (const char* id : {"a", "b", "c"}) {
    EXPECT_EQ(Kind::kAnswer, Waited(children, {"keep", {}, sample, {}, id}).Get().kind);
  }
  // One child is new, one beside it may keep what it has; the eldest had to go, and its photograph with it.
  EXPECT_EQ(kNotKept, Waited(children, {"render", visa, {}, {}, "a"}).Get().code);
  EXPECT_EQ(Kind::kAnswer, Waited(children, {"render", visa, {}, {}, "c"}).Get().kind);
  EXPECT_TRUE(Eventually([&] { return children.State().ready == 2; }));
  // Many variations of one photograph wear out no child.
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(Kind::kAnswer, Waited(children, {"render", visa, {}, {}, "c"}).Get().kind);
  }
  EXPECT_EQ(0u, children.State().died);
}

TEST(ChildrenPhotographs, OfEveryFormatAreReadAndDamagedOnesRefused) {
  const TestFolder folder;
  const vips::VImage picture = ToVips(GradientImage(300, 200));
  for (const char* name : {"a.jpg", "a.png", "a.webp", "a.tif", "a.heic", "a.avif"})
    picture.write_to_file((folder / name).c_str());
  picture.icc_transform("p3", vips::VImage::option()->set("input_profile", "srgb"))
      .write_to_file((folder / "profile.jpg").c_str());
  picture.colourspace(VIPS_INTERPRETATION_CMYK).write_to_file((folder / "cmyk.jpg").c_str());
  picture.write_to_file((folder / "scans.jpg").c_str(), vips::VImage::option()->set("interlace", true));
  picture.write_to_file((folder / "interlaced.png").c_str(), vips::VImage::option()->set("interlace", true));
  Children children(Settings(1));
  for (const std::string& name : folder.Names()) {
    const photo::Bytes whole = FileOf(folder / name);
    const ChildReply read = Waited(children, {"inspect", {}, whole, {}, ""}).Get();
    EXPECT_TRUE(Contains(read.report, "\"width\":300")) << name << ": " << read.text;
    // Cut, and with bytes of all places changed: a refusal or a picture, never the end of the child.
    for (const size_t part : {size_t{2}, size_t{7}}) {
      photo::Bytes cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(whole.size() * part / 8)), changed = whole;
      for (size_t at = part * 5; at < changed.size(); at += 97 * part) changed[at] = static_cast<uint8_t>(at * 31);
      EXPECT_EQ(Kind::kFailure, Waited(children, {"inspect", {}, cut, {}, ""}).Get().kind) << name << part;
      const ChildReply reply = Waited(children, {"inspect", {}, changed, {}, ""}).Get();
      EXPECT_TRUE(reply.kind == Kind::kAnswer || reply.kind == Kind::kFailure) << name << part << reply.text;
    }
  }
  EXPECT_EQ("not_a_picture", Ask(children, "inspect").code);
  EXPECT_EQ(0u, children.State().died);
}

TEST(ChildrenPhotographs, BeyondTheLimitOfPixelsAreRefused) {
  const TestFolder folder;
  vips::VImage::black(9000, 9000).write_to_file((folder / "large.png").c_str());
  Children children(Settings(1));
  EXPECT_EQ("too_large", Waited(children, {"inspect", {}, FileOf(folder / "large.png"), {}, ""}).Get().code);
}

}  // namespace
}  // namespace qx::server
