// `sheet` as a user runs it.
#include <gtest/gtest.h>

#include "codec/codec.h"
#include "photo/sheet/sheet.h"
#include "support/test_files.h"

namespace qx::cli {
namespace {

using namespace qx::test;
using namespace qx::photo;
using namespace qx::codec;

using vips::VImage;

VImage WithDpi(const Image& image, double x, double y) {
  return ToVips(image).copy(VImage::option()->set("xres", x / 25.4)->set("yres", y / 25.4));
}

TEST(SheetProgram, WritesSheetsAtTrueSizeAndRefusesTheRest) {
  const TestFolder folder;
  const Image image = GradientImage(413, 531);
  WithDpi(image, 300, 300).write_to_file((folder / "a.png").c_str());
  std::filesystem::copy(folder / "a.png", folder / "odd:2");  // a name that ends like a count
  ToVips(image).write_to_file((folder / "silent.png").c_str());

  ProgramRun run = RunProgram(folder, {"sheet", "a.png:4", "silent.png", "-o", "s.tiff", "--size", "35x45mm"});
  EXPECT_EQ(0, run.status) << run.err;
  EXPECT_TRUE(Contains(run.out, "a.png: 4 of 34.97 x 44.96 mm")) << run.out;
  const Image sheet = ReadImage(folder / "s.tiff");
  EXPECT_EQ(1800, sheet.width);
  EXPECT_EQ(300, ReadPrintResolution(folder / "s.tiff")->x);
  const SheetLayout layout = LayOutSheet({{152.4, 101.6, Unit::kMillimetre}, 3, 2, 300}, {{"a", 413, 531, {}}});
  EXPECT_EQ(DrawSheet(layout, {image}).bgr, sheet.bgr);

  run = RunProgram(folder, {"sheet", "odd:2", "-o", "s.png", "--copies", "3", "--paper", "5x7", "--dpi", "600"});
  EXPECT_EQ(0, run.status) << run.err;
  EXPECT_TRUE(Contains(run.out, "3 of 34.97 x 44.96 mm, resampled from 300 dpi")) << run.out;

  const std::tuple<Names, int, std::string> refused[] = {
      {{"silent.png", "-o", "x.png"}, 1, "silent.png: says nothing about its print size"},
      {{"silent.png", "-o", "x.png", "--size", "50x50mm"}, 1, "413 x 531 pixels, which is not the shape of 50x50mm"},
      {{"a.png:500", "silent.png:501", "-o", "x.png", "--size", "35x45mm"}, 1, "1001 photographs on one sheet"},
      {{"a.png:9", "-o", "x.png"}, 1, "only 8 of 9 photographs fit on 101.6 x 152.4 mm"},
      {{"a.png", "missing.png", "-o", "x.png"}, 1, "missing.png: no such file"},
      {{"a.png:0", "-o", "x.png"}, 2, "copies goes from 1"},
      {{"a.png", "-o", "a.png"}, 2, "would replace the photograph"},
      {{"a.png", "-o", "x.gif"}, 2, ".tiff"},
      {{"a.png", "-o", "x.png", "--paper", "A9"}, 2, "is no paper"},
      {{"a.png", "-o", "x.png", "--margin", "3-4mm"}, 2, "--margin"},
      {{"a.png", "-o", "x.png", "--dpi", "2401"}, 2, "--dpi"}};
  for (const auto& [arguments, status, reason] : refused) {
    EXPECT_EQ(status, StatusOfRefusal(folder, Joined({"sheet"}, arguments), reason)) << reason;
  }
  EXPECT_EQ((Names{"a.png", "odd:2", "s.png", "s.tiff", "silent.png"}), folder.Names());
}

}  // namespace
}  // namespace qx::cli
