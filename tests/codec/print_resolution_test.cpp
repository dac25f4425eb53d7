// The print size that image files carry.
#include "codec/codec.h"

#include <gtest/gtest.h>

#include "support/test_files.h"

namespace qx::codec {
namespace {

using namespace qx::test;
using namespace qx::photo;
using vips::VImage;

VImage WithDpi(const Image& image, double x, double y) {
  return ToVips(image).copy(VImage::option()->set("xres", x / 25.4)->set("yres", y / 25.4));
}

TEST(PrintFile, ReadsTheResolutionThatFilesCarry) {
  const TestFolder folder;
  const Image image = GradientImage(30, 40);
  for (const char* name : {"a.png", "a.jpg", "a.tif"}) {
    WithDpi(image, 300, 300).write_to_file((folder / name).c_str());
    const auto resolution = ReadPrintResolution(folder / name);
    ASSERT_TRUE(resolution) << name;
    EXPECT_EQ(300, resolution->x) << name;  // also where the file counts pixels a metre
    EXPECT_EQ(300, resolution->y) << name;
    ToVips(image).write_to_file((folder / name).c_str());
    EXPECT_FALSE(ReadPrintResolution(folder / name)) << name;
  }
  WithDpi(image, 72, 72).write_to_file((folder / "a.jpg").c_str());
  EXPECT_FALSE(ReadPrintResolution(folder / "a.jpg"));
  VImage turned = WithDpi(image, 200, 400);
  turned.set("orientation", 6);
  turned.write_to_file((folder / "turned.tif").c_str());
  EXPECT_EQ(400, ReadPrintResolution(folder / "turned.tif")->x);

  for (const char* name : {"b.png", "b.jpg", "b.TIFF"}) {
    WriteEncoded(folder / name, EncodePrint(image, *PrintFormatOfName(name), 350));
    EXPECT_EQ(350, ReadPrintResolution(folder / name)->x) << name;
    EXPECT_EQ(350, ReadPrintResolution(folder / name)->y) << name;
  }
}

}  // namespace
}  // namespace qx::codec
