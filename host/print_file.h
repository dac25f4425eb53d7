// The print size that image files carry: pixels an inch.
#ifndef QX_HOST_PRINT_FILE_H
#define QX_HOST_PRINT_FILE_H

#include <cstdint>
#include <filesystem>
#include <optional>

#include "host/image_file.h"

namespace qx::host {

struct PrintResolution {
  double x = 0, y = 0;  // pixels an inch, along the width and height of the upright picture
};

// What the file of a photograph that ReadImage has read says about it. Nothing when the file is silent or holds one of
// the two fillers for "unknown": 72 an inch (EXIF 2.32, XResolution) and 1 a millimetre. A format that counts whole
// pixels a metre cannot hold whole pixels an inch exactly: what is that close to a whole number becomes one.
// Throws Failure.
std::optional<PrintResolution> ReadPrintResolution(const std::filesystem::path& path);

enum class PrintFormat { kPng, kJpeg, kTiff };

// By the name's ending: .png, .jpg, .jpeg, .tif or .tiff, in any case.
std::optional<PrintFormat> PrintFormatOfName(const std::filesystem::path& path);

// Writes the picture (without loss, or as JPEG with quality 95 and colour at full resolution) and its resolution, at
// most 65,535, under that name, whole or not at all. Throws Failure.
void WritePrint(const std::filesystem::path& path, const Image& image, PrintFormat format, int32_t dpi);

}  // namespace qx::host

#endif  // QX_HOST_PRINT_FILE_H
