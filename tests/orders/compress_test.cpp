// compress and watermark, and background on what is transparent already: none needs a face.
#include <gtest/gtest.h>

#include <string>

#include "codec/codec.h"
#include "orders/order.h"
#include "photo/studio.h"
#include "support/test_files.h"

namespace qx::orders {
namespace {

using namespace qx::test;
using codec::ImageFormat;
using photo::Bytes;

photo::Studio& TheStudio() {
  static photo::Studio studio;
  return studio;
}

Bytes ToBytes(const std::string& text) {
  return {text.begin(), text.end()};
}

Picture Only(const std::string& command, const OptionPairs& options, const Bytes& file) {
  Answer answer = ParseOrder(command, options)->Fill({file, {}, "x.jpg"}, TheStudio());
  EXPECT_EQ(1u, answer.pictures.size());
  return std::move(answer.pictures.at(0));
}

Bytes Of(const Picture& picture) {
  return {picture.bytes.begin(), picture.bytes.end()};
}

// A JPEG file with what cameras put beside the pixels, and something behind its end.
std::string CameraFile(int orientation, bool isProgressive) {
  const TestFolder folder;
  vips::VImage picture = ToVips(GradientImage(160, 120)).copy();
  picture.set("exif-ifd0-Artist", "somebody (somebody, ASCII, 9 components, 9 bytes)");
  picture.set("orientation", orientation);
  picture.write_to_file((folder / "x.jpg").c_str(),
                        vips::VImage::option()->set("Q", 71)->set("interlace", isProgressive));
  std::string file = ReadBytes(folder / "x.jpg");
  file.insert(2, std::string("\xFF\xFE\0\x0A"
                             "a secret",
                             12));
  return file + "and more";
}

TEST(Compress, KeepsThePixelsOfAJpegThatIsWithinTheLimits) {
  for (const bool isProgressive : {false, true}) {
    const std::string camera = CameraFile(1, isProgressive);
    ASSERT_TRUE(Contains(camera, "somebody") && Contains(camera, "a secret"));
    const Picture picture = Only("compress", {{"dpi", "254"}, {"max-kb", "100"}}, ToBytes(camera));
    const std::string packed(picture.bytes.begin(), picture.bytes.end());
    for (const char* word : {"somebody", "secret", "Exif", "and more"}) EXPECT_FALSE(Contains(packed, word)) << word;
    codec::FileSource source(Of(picture));
    ASSERT_TRUE(source.Resolution());
    EXPECT_EQ(254, source.Resolution()->x);
    EXPECT_EQ(71, source.Quality()->quality);
    EXPECT_EQ(codec::ReadImage(ToBytes(camera)).bgr, source.Whole().bgr);

    // Filled up to the byte.
    const Picture filled = Only("compress", {{"min-kb", "90"}}, ToBytes(camera));
    EXPECT_EQ(90u * 1024, filled.bytes.size());
    EXPECT_EQ(codec::ReadImage(ToBytes(camera)).bgr, codec::ReadImage(Of(filled)).bgr);
  }
}

TEST(Compress, CompressesAnewWhatIsTurnedOrTooLarge) {
  const std::string turned = CameraFile(6, false);
  const Picture upright = Only("compress", {{"dpi", "300"}}, ToBytes(turned));
  codec::FileSource source(Of(upright));
  EXPECT_EQ(120, source.Width());
  EXPECT_EQ(codec::kUsualQuality, source.Quality()->quality);

  const Bytes png = [] {
    const auto bytes = codec::EncodeImage(GradientImage(900, 900), ImageFormat::kPng);
    return Bytes(bytes.begin(), bytes.end());
  }();
  EXPECT_LE(Only("compress", {{"max-kb", "12"}}, png).bytes.size(), 12'000u);
  EXPECT_EQ("the file cannot be made as small as 1.0 kB", FailureOf([&] {
                                                            Only("compress", {{"max-kb", "1"}}, png);
                                                          }).substr(0, 42));
  // A torn JPEG is none that could stay as it is.
  const std::string camera = CameraFile(1, false);
  EXPECT_TRUE(Contains(FailureOf([&] {
                         Only("compress", {{"dpi", "99"}}, ToBytes(camera.substr(0, camera.size() / 2)));
                       }),
                       "damaged"));
}

TEST(Background, StandsBehindWhatIsTransparentAlready) {
  const photo::Image colours = GradientImage(40, 30);
  photo::Mask opacity(40, 30, 0);
  for (int x = 10; x < 20; ++x) opacity.Row(7)[x] = x == 15 ? 100 : 255;
  const auto bytes = codec::EncodeImage(colours, ImageFormat::kPng, opacity);
  const Bytes file(bytes.begin(), bytes.end());
  const photo::Image before =
      codec::ReadImage(Of(Only("background", {{"background", "#ff0000"}, {"format", "png"}}, file)));
  EXPECT_EQ(0, before.At(0, 0)[0]);
  EXPECT_EQ(255, before.At(39, 29)[2]);
  EXPECT_EQ(colours.At(12, 7)[1], before.At(12, 7)[1]);
  EXPECT_EQ((colours.At(15, 7)[0] * 100 + 127) / 255, before.At(15, 7)[0]);
  // Nothing is lost where no background is wanted.
  codec::FileSource same(Of(Only("background", {{"background", "transparent"}}, file)));
  const auto picture = same.Transparent();
  ASSERT_TRUE(picture);
  EXPECT_EQ(colours.bgr, picture->colours.bgr);
  EXPECT_EQ(opacity.values, picture->opacity.values);

  // A size of file and a resolution, which a limit of size brings with it.
  codec::FileSource dense(Of(Only("background", {{"background", "white"}, {"dpi", "254"}, {"max-kb", "5"}}, file)));
  EXPECT_EQ(254, dense.Resolution()->x);
  codec::FileSource limited(Of(Only("background", {{"background", "white"}, {"max-kb", "5"}}, file)));
  EXPECT_EQ(300, limited.Resolution()->x);

  // A watermark leaves what is transparent so, unless the file cannot be.
  codec::FileSource marked(Of(Only("watermark", {{"text", "mine"}, {"format", "png"}, {"dpi", "254"}}, file)));
  EXPECT_EQ(254, marked.Resolution()->x);
  const auto remaining = marked.Transparent();
  ASSERT_TRUE(remaining);
  EXPECT_NE(colours.bgr, remaining->colours.bgr);
  EXPECT_EQ(opacity.values, remaining->opacity.values);
  EXPECT_FALSE(codec::FileSource(Of(Only("watermark", {{"text", "mine"}}, file))).Transparent());
}

}  // namespace
}  // namespace qx::orders
