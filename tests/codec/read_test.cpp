#include "codec/codec.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <functional>

#include "support/test_files.h"

namespace qx::codec {
namespace {

using namespace qx::test;
using namespace qx::photo;

namespace fs = std::filesystem;
using vips::VImage;

// The largest difference of any sample; a picture of another size differs by 999.
int Difference(const Image& a, const Image& b) {
  if (a.width != b.width || a.height != b.height || a.bgr.size() != b.bgr.size()) return 999;
  int largest = 0;
  for (size_t i = 0; i < a.bgr.size(); ++i) largest = std::max(largest, std::abs(a.bgr[i] - b.bgr[i]));
  return largest;
}

std::string FailureOfReading(const fs::path& path, int64_t maxPixels = kDefaultMaxPixels) {
  return FailureOf([&] { ReadImage(path, {maxPixels}); });
}

Image GreyOf(const Image& image) {  // green in all three channels
  Image grey = image;
  for (size_t i = 0; i < grey.bgr.size(); ++i) grey.bgr[i] = image.bgr[i / 3 * 3 + 1];
  return grey;
}

VImage As(const VImage& image, VipsInterpretation interpretation) {
  return image.copy(VImage::option()->set("interpretation", interpretation));
}

TEST(ImageFile, ReadsEveryFormatByItsContent) {
  const Image image = GradientImage(48, 32);
  const VImage source = ToVips(image);
  EXPECT_EQ(0, Difference(image, Reread(source, "a.png")));
  EXPECT_EQ(0, Difference(image, Reread(source, "a.tif")));
  EXPECT_EQ(0, Difference(image, Reread(source, "a.webp", VImage::option()->set("lossless", true))));
  EXPECT_GE(4, Difference(image, Reread(source, "a.jpg", VImage::option()->set("Q", 98))));
  EXPECT_GE(8, Difference(image, Reread(source, "a.heic", VImage::option()->set("lossless", true))));
  EXPECT_GE(8, Difference(image, Reread(source, "a.avif", VImage::option()->set("lossless", true))));
  // The name says nothing: a PNG called .jpg, with an option-like tail that must stay a plain name.
  const TestFolder folder;
  source.write_to_file((folder / "a.png").c_str());
  fs::rename(folder / "a.png", folder / "odd \xFF[page=7].jpg");
  EXPECT_EQ(0, Difference(image, ReadImage(folder / "odd \xFF[page=7].jpg")));
}

TEST(ImageFile, TurnsUprightByExifOrientation) {
  const Image upright = GradientImage(48, 32);
  // How the upright picture is stored, in the order of EXIF's numbers: turned clockwise, then perhaps mirrored.
  const std::pair<VipsAngle, bool> stored[] = {
      {VIPS_ANGLE_D0, false}, {VIPS_ANGLE_D0, true},    {VIPS_ANGLE_D180, false}, {VIPS_ANGLE_D180, true},
      {VIPS_ANGLE_D90, true}, {VIPS_ANGLE_D270, false}, {VIPS_ANGLE_D270, true},  {VIPS_ANGLE_D90, false}};
  for (int orientation = 1; orientation <= 8; ++orientation) {
    const auto& [angle, isMirrored] = stored[orientation - 1];
    VImage tagged = ToVips(upright).rot(angle);
    if (isMirrored) tagged = tagged.flip(VIPS_DIRECTION_HORIZONTAL);
    tagged = tagged.copy();
    tagged.set("orientation", orientation);
    EXPECT_EQ(0, Difference(upright, Reread(tagged, "a.tif"))) << orientation;
    EXPECT_GE(4, Difference(upright, Reread(tagged, "a.jpg", VImage::option()->set("Q", 98)))) << orientation;
  }
}

TEST(ImageFile, BringsEveryModeToEightBitColour) {
  const Image image = GradientImage(48, 32), greyImage = GreyOf(image);
  const VImage rgb = ToVips(image), grey = As(rgb[1], VIPS_INTERPRETATION_B_W);
  const VImage rgb16 = As((rgb * 257).cast(VIPS_FORMAT_USHORT), VIPS_INTERPRETATION_RGB16);
  const VImage grey16 = As((grey * 257).cast(VIPS_FORMAT_USHORT), VIPS_INTERPRETATION_GREY16);
  for (const char* name : {"a.png", "a.tif"}) {
    EXPECT_EQ(0, Difference(image, Reread(rgb16, name))) << name;
    EXPECT_EQ(0, Difference(greyImage, Reread(grey, name))) << name;
    EXPECT_EQ(0, Difference(greyImage, Reread(grey16, name))) << name;
  }
  // A palette of four colours, and one bit a pixel.
  const VImage black = (rgb * 0).cast(VIPS_FORMAT_UCHAR);
  const VImage halves = As(black.insert(black + 255, 24, 0).cast(VIPS_FORMAT_UCHAR), VIPS_INTERPRETATION_sRGB);
  Image expected = image;
  for (size_t i = 0; i < expected.bgr.size(); ++i) expected.bgr[i] = i / 3 % 48 < 24 ? 0 : 255;
  EXPECT_EQ(0, Difference(expected, Reread(halves, "a.png", VImage::option()->set("palette", true))));
  EXPECT_EQ(0, Difference(expected, Reread(As(halves[0], VIPS_INTERPRETATION_B_W), "a.tif",
                                           VImage::option()->set("bitdepth", 1))));
}

TEST(ImageFile, PutsTransparencyOnWhite) {
  const Image image = GradientImage(48, 32);
  const VImage rgb = ToVips(image);
  // Clear on the left half, opaque on the right.
  const VImage clear = (rgb[0] * 0).cast(VIPS_FORMAT_UCHAR);
  const VImage alpha = clear.insert((clear + 255).cast(VIPS_FORMAT_UCHAR), 24, 0);
  auto onWhite = [](Image picture) {
    for (size_t i = 0; i < picture.bgr.size(); ++i) {
      if (i / 3 % 48 < 24) picture.bgr[i] = 255;
    }
    return picture;
  };
  const VImage rgba = rgb.bandjoin(alpha);
  const VImage rgba16 = As((rgba * 257).cast(VIPS_FORMAT_USHORT), VIPS_INTERPRETATION_RGB16);
  const VImage greyAlpha = As(rgb[1].bandjoin(alpha), VIPS_INTERPRETATION_B_W);
  for (const char* name : {"a.png", "a.tif"}) {
    EXPECT_EQ(0, Difference(onWhite(image), Reread(rgba, name))) << name;
    EXPECT_EQ(0, Difference(onWhite(image), Reread(rgba16, name))) << name;
    EXPECT_EQ(0, Difference(onWhite(GreyOf(image)), Reread(greyAlpha, name))) << name;
  }
  EXPECT_EQ(0, Difference(onWhite(image), Reread(rgba, "a.webp", VImage::option()->set("lossless", true))));
}

TEST(ImageFile, ConvertsColourSpacesToSrgb) {
  const Image image = GradientImage(48, 32);
  const VImage rgb = ToVips(image);
  const VImage wide = rgb.icc_transform("p3", VImage::option()->set("input_profile", "srgb"));
  VImage unprofiled = wide.copy();
  unprofiled.remove(VIPS_META_ICC_NAME);
  EXPECT_LT(12, Difference(image, Reread(unprofiled, "a.png")));  // the numbers themselves are others
  for (const char* name : {"a.png", "a.tif"}) EXPECT_GE(2, Difference(image, Reread(wide, name))) << name;
  const VImage wide16 = rgb.icc_transform("p3", VImage::option()->set("input_profile", "srgb")->set("depth", 16));
  EXPECT_GE(6, Difference(image, Reread(wide16, "a.png")));
  // Its own profile changes no bit, nor does one that is damaged.
  EXPECT_EQ(
      0, Difference(image, Reread(rgb.icc_transform("srgb", VImage::option()->set("input_profile", "srgb")), "a.tif")));
  for (const size_t size : {size_t{3}, size_t{140}, size_t{400}}) {
    std::string damaged(size, '\x7F');
    VImage copy = rgb.copy();
    copy.set(VIPS_META_ICC_NAME, VipsCallbackFn{}, damaged.data(), damaged.size());
    EXPECT_EQ(0, Difference(image, Reread(copy, "a.tif"))) << size;
  }
  // Ink: none is white, black ink is dark, cyan takes the red away; with and without a profile, also below an alpha.
  const std::vector<double> none{0, 0, 0, 0}, blackInk{0, 0, 0, 255}, cyan{255, 0, 0, 0};
  auto ink = [&](const std::vector<double>& c) {
    return As((VImage::black(16, 16) + c).cast(VIPS_FORMAT_UCHAR), VIPS_INTERPRETATION_CMYK);
  };
  const VImage inks =
      ink(none).join(ink(blackInk), VIPS_DIRECTION_HORIZONTAL).join(ink(cyan), VIPS_DIRECTION_HORIZONTAL);
  const Image grey = GreyOf(image);  // ink can print all of these
  auto* inkOptions = VImage::option()->set("input_profile", "srgb")->set("black_point_compensation", true);
  const VImage profiled = ToVips(grey).icc_transform("cmyk", inkOptions->set("intent", VIPS_INTENT_RELATIVE));
  EXPECT_GE(12, Difference(grey, Reread(profiled, "a.tif")));
  for (const auto& [source, name] :
       {std::pair(inks, "a.jpg"), std::pair(inks, "a.tif"), std::pair(inks.bandjoin(255), "b.tif")}) {
    const Image read = Reread(source, name);
    ASSERT_EQ(48, read.width) << name;
    const uint8_t *white = &read.bgr[3 * 8], *dark = &read.bgr[3 * 24], *blue = &read.bgr[3 * 40];
    EXPECT_LT(250, *std::min_element(white, white + 3)) << name;
    EXPECT_GT(70, *std::max_element(dark, dark + 3)) << name;
    EXPECT_LT(blue[2] + 100, blue[0]) << name;
  }
}

// A PNG of that size whose pixels are missing.
std::string PngHeader(uint32_t width, uint32_t height) {
  auto number = [](uint32_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift & 0xFF);
    return bytes;
  };
  auto chunk = [&](const std::string& body) {  // with the CRC of ISO 3309 behind
    uint32_t crc = ~0u;
    for (const char c : body) {
      crc ^= static_cast<uint8_t>(c);
      for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0);
    }
    return number(static_cast<uint32_t>(body.size() - 4)) + body + number(~crc);
  };
  return "\x89PNG\r\n\x1A\n" + chunk("IHDR" + number(width) + number(height) + std::string("\x08\x02\0\0\0", 5)) +
         chunk("IDAT" + std::string(20, 'x'));
}

TEST(ImageFile, RefusesWhatIsNoWholePhotographWithItsReason) {
  const TestFolder folder;
  mkfifo((folder / "fifo").c_str(), 0600);
  WriteBytes(folder / "empty.jpg", "");
  WriteBytes(folder / "text.jpg", "Dear Sir or Madam,");
  WriteBytes(folder / "gif.jpg", std::string("GIF89a\1\0\1\0\0\0\0;", 14));
  WriteBytes(folder / "bomb.png", PngHeader(100000, 100000));
  WriteBytes(folder / "half.png", PngHeader(20, 20));
  const std::pair<std::string, std::string> cases[] = {
      {"missing.jpg", "no such file"}, {".", "is a folder"},
      {"fifo", "is not a file"},       {"empty.jpg", "is empty"},
      {"text.jpg", "known format"},    {"gif.jpg", "known format"},
      {"bomb.png", "100000 x 100000"}, {"half.png", "damaged or truncated PNG"}};
  for (const auto& [name, reason] : cases) {
    const std::string failure = FailureOfReading(folder / name);
    EXPECT_TRUE(Contains(failure, reason)) << name << ": " << failure;
    EXPECT_TRUE(Contains(failure, "; ")) << "says nothing to do: " << failure;
    EXPECT_EQ(std::string::npos, failure.find('\n')) << failure;
  }
  ToVips(GradientImage(50, 40)).write_to_file((folder / "a.png").c_str());
  EXPECT_EQ("(no failure)", FailureOfReading(folder / "a.png", 2000));
  EXPECT_TRUE(Contains(FailureOfReading(folder / "a.png", 1999), "above the limit"));
}

TEST(ImageFile, LeavesTheLibraryNoOtherReaders) {
  const TestFolder folder;
  const VImage picture = ToVips(GradientImage(8, 6));
  for (const char* name : {"a.ppm", "a.gif", "a.v"}) {
    picture.write_to_file((folder / name).c_str());
    EXPECT_THROW(VImage::new_from_file((folder / name).c_str()), vips::VError) << name;
  }
}

TEST(ImageFile, RefusesEveryFormatCutAnywhere) {
  const TestFolder folder;
  // Noise, so that every part of the file carries pixels.
  const VImage noise = VImage::gaussnoise(160, 120, VImage::option()->set("mean", 128)->set("sigma", 40))
                           .bandjoin(std::vector<double>{60, 200})
                           .cast(VIPS_FORMAT_UCHAR);
  for (const char* name : {"a.jpg", "a.png", "a.webp", "a.tif", "a.heic"}) {
    As(noise, VIPS_INTERPRETATION_sRGB).write_to_file((folder / name).c_str());
    const std::string whole = ReadBytes(folder / name);
    EXPECT_EQ("(no failure)", FailureOfReading(folder / name)) << name;
    for (const double share : {0.02, 0.3, 0.6, 0.9}) {
      WriteBytes(folder / name, whole.substr(0, static_cast<size_t>(share * static_cast<double>(whole.size()))));
      const std::string failure = FailureOfReading(folder / name);
      EXPECT_TRUE(Contains(failure, "damaged or truncated")) << name << " at " << share << ": " << failure;
    }
  }
}

TEST(ImageFile, WritesPngExactlyAndJpegClosely) {
  const TestFolder folder;
  const Image image = GradientImage(33, 21);
  WriteEncoded(folder / "a.PNG", EncodeImage(image, *FormatOfName("a.PNG")));
  WriteEncoded(folder / "a.jpeg", EncodeImage(image, *FormatOfName("a.jpeg")));
  EXPECT_EQ(0, Difference(image, ReadImage(folder / "a.PNG")));
  EXPECT_EQ("\xFF\xD8\xFF", ReadBytes(folder / "a.jpeg").substr(0, 3));
  EXPECT_GE(6, Difference(image, ReadImage(folder / "a.jpeg")));
  EXPECT_FALSE(FormatOfName("a.gif") || FormatOfName("png") || FormatOfName(".png"));
}

}  // namespace
}  // namespace qx::codec
