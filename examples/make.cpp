// Makes the finished photograph of a document.
//
//   make PHOTO PRESET OUT.jpg      for example: make holiday.jpg schengen-visa visa.jpg
//
// Reads JPEG, PNG, WebP, HEIF or TIFF and writes JPEG or PNG, by the name's ending.
#include <cstdio>
#include <exception>
#include <fstream>
#include <string>

#include "codec/codec.h"
#include "photo/base/failure.h"
#include "photo/document/presets.h"
#include "photo/studio.h"

namespace {

namespace codec = qx::codec;
namespace photo = qx::photo;

// What is asked for: the document's pixels, bounds and limits, and the background that its authority wants. All else is
// left as it is: no retouching, and a head that leans is straightened unless the background has to be kept.
photo::MakeRequest RequestFor(const photo::Preset& preset) {
  photo::MakeRequest request;
  request.document = photo::Derive(preset);
  request.background = photo::ParseBackground(photo::ChooseBackground(preset, std::nullopt, false));
  request.straighten = preset.backgroundChange;
  return request;
}

void Make(const std::string& photograph, const photo::Preset& preset, const std::string& output) {
  const auto format = codec::FormatOfName(output);
  if (!format) throw photo::Failure(photo::FailureCode::kBadOption, output + ": end the name in .jpg or .png");

  // The source decodes what is needed, at the size at which it is needed. The studio holds the networks: a program that
  // makes many photographs keeps one studio in each of its threads.
  codec::FileSource source(photograph);
  photo::Studio studio;
  photo::AnalyseRequest faces;
  faces.pair = preset.persons == 2;
  const photo::MakeRequest request = RequestFor(preset);
  const photo::MadePhoto made = studio.Make(source, faces, request);
  for (const std::string& remark : made.remarks) std::printf("%s\n", remark.c_str());

  const photo::Document& document = request.document;
  const codec::EncodedDocument file =
      codec::EncodeDocument(made.image, *format, document.dpi, document.minKb, document.maxKb);
  std::ofstream stream(output, std::ios::binary);
  stream.write(reinterpret_cast<const char*>(file.bytes.data()), static_cast<std::streamsize>(file.bytes.size()));
  if (!stream.flush()) throw photo::Failure(photo::FailureCode::kCannotWrite, output + ": cannot be written");
  std::printf("%s: %d x %d pixels\n", output.c_str(), static_cast<int>(made.image.width),
              static_cast<int>(made.image.height));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: %s PHOTO PRESET OUT.jpg\n", argv[0]);
    return 2;
  }
  // Made before the first picture, destroyed after the last one.
  const codec::ImageLibrary images;
  try {
    Make(argv[1], photo::FindPreset(argv[2]), argv[3]);
    return 0;
  } catch (const photo::Failure& failure) {
    // The code is for programs, the text for people.
    std::fprintf(stderr, "%s: %s (%s)\n", argv[1], failure.what(), photo::NameOf(failure.Code()));
  } catch (const std::exception& exception) {  // memory is short
    std::fprintf(stderr, "%s: %s\n", argv[1], photo::ReasonOf(exception).c_str());
  }
  return 1;
}
