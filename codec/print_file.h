// The print size that image files carry: pixels an inch.
#ifndef QX_CODEC_PRINT_FILE_H
#define QX_CODEC_PRINT_FILE_H

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include "codec/image_file.h"
#include "photo/document/units.h"

namespace qx::codec {

// What the file of a photograph that ReadImage has read says about it. Nothing when the file is silent or holds one of
// the two fillers for "unknown": 72 an inch (EXIF 2.32, XResolution) and 1 a millimetre. A format that counts whole
// pixels a metre cannot hold whole pixels an inch exactly: what is that close to a whole number becomes one.
// Throws Failure.
std::optional<photo::PrintResolution> ReadPrintResolution(const std::filesystem::path& path);

enum class PrintFormat { kPng, kJpeg, kTiff };

// By the name's ending: .png, .jpg, .jpeg, .tif or .tiff, in any case.
std::optional<PrintFormat> PrintFormatOfName(const std::filesystem::path& path);

// The bytes of a file of the picture (without loss, or as JPEG with quality 95 and colour at full resolution) with its
// resolution, at most 65,535. Throws Failure.
std::vector<uint8_t> EncodePrint(const photo::Image& image, PrintFormat format, int32_t dpi);

}  // namespace qx::codec

#endif  // QX_CODEC_PRINT_FILE_H
