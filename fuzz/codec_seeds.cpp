// Writes the pictures that codec_fuzz starts from into a folder: every format and mode, small.
#include <iostream>
#include <string>
#include <vips/vips8>

#include "codec/codec.h"
#include "codec/library.h"

namespace {

using vips::VImage;

VImage Picture() {
  const VImage x = VImage::identity().cast(VIPS_FORMAT_UCHAR).extract_area(0, 0, 40, 1).embed(0, 0, 40, 24);
  return VImage::bandjoin({x * 5, x + 90, x * 3 + 7})
      .cast(VIPS_FORMAT_UCHAR)
      .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB)->set("xres", 11.8)->set("yres", 11.8));
}

void WriteAll(const std::string& folder) {
  const VImage picture = Picture(), clear = picture.bandjoin(picture[0]);
  const VImage grey = picture[1].copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_B_W));
  const VImage wide = picture.icc_transform("p3", VImage::option()->set("input_profile", "srgb"));
  VImage ink = picture.icc_transform("cmyk", VImage::option()->set("input_profile", "srgb"));
  ink.remove(VIPS_META_ICC_NAME);  // larger than all the rest
  VImage turned = picture.copy();
  turned.set("orientation", 6);
  auto path = [&](const char* name) { return folder + "/" + name; };
  picture.write_to_file(path("a.jpg").c_str());
  picture.write_to_file(path("progressive.jpg").c_str(), VImage::option()->set("interlace", true));
  turned.write_to_file(path("turned.jpg").c_str());
  wide.write_to_file(path("wide.jpg").c_str());
  ink.write_to_file(path("ink.jpg").c_str());
  grey.write_to_file(path("grey.jpg").c_str());
  clear.write_to_file(path("clear.png").c_str());
  picture.write_to_file(path("interlaced.png").c_str(), VImage::option()->set("interlace", true));
  picture.write_to_file(path("palette.png").c_str(), VImage::option()->set("palette", true));
  clear.write_to_file(path("clear.webp").c_str(), VImage::option()->set("lossless", true));
  picture.write_to_file(path("a.webp").c_str());
  clear.write_to_file(path("clear.tif").c_str());
  ink.write_to_file(path("ink.tif").c_str());
  turned.write_to_file(path("tiled.tif").c_str(), VImage::option()->set("tile", true)->set("compression", "lzw"));
  picture.write_to_file(path("a.heic").c_str());
  picture.write_to_file(path("a.avif").c_str());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: codec_seeds FOLDER\n";
    return 2;
  }
  const qx::codec::ImageLibrary images;
  try {
    qx::codec::StartLibrary();
    qx::codec::AddHeif();
    WriteAll(argv[1]);
    return 0;
  } catch (const std::exception& exception) {
    std::cerr << exception.what() << "\n";
    return 1;
  }
}
