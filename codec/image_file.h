// Photographs from files and pictures to files.
#ifndef QX_CODEC_IMAGE_FILE_H
#define QX_CODEC_IMAGE_FILE_H

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "photo/base/image.h"

namespace qx::codec {

enum class ImageFormat { kPng, kJpeg };

// Starts the image library for the life of the process and keeps it from writing to standard error. Hold one in main.
class ImageLibrary {
 public:
  explicit ImageLibrary(const char* programName);  // throws Failure
  ~ImageLibrary();
  ImageLibrary(const ImageLibrary&) = delete;
  ImageLibrary& operator=(const ImageLibrary&) = delete;
};

// Has each picture read and written by few threads, for programs that work on several pictures at once.
void UseOneImageThread();

inline constexpr int64_t kDefaultMaxPixels = 300'000'000;
inline constexpr int64_t kHighestMaxPixels = 700'000'000;  // times three bytes still fits an int32

// Reads the first picture of a JPEG, PNG, WebP, HEIF (also AVIF) or TIFF file, told apart by their content, as a
// viewer shows it: upright (EXIF orientation), in sRGB (embedded profile; grey and CMYK too), on white where it is
// transparent, 16 bits reduced to 8.
// Throws Failure for everything that is not a whole photograph of at most `maxPixels` pixels; the size is taken from
// the header, before anything is decoded.
photo::Image ReadImage(const std::filesystem::path& path, int64_t maxPixels = kDefaultMaxPixels);

// The format that the name's ending (.png, .jpg, .jpeg, in any case) asks for.
std::optional<ImageFormat> FormatOfName(const std::filesystem::path& path);

// The bytes of a PNG or JPEG (quality 95, colour at full resolution) file. Throws Failure.
std::vector<uint8_t> EncodeImage(const photo::Image& image, ImageFormat format);

}  // namespace qx::codec

#endif  // QX_CODEC_IMAGE_FILE_H
