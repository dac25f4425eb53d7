#include "codec/print_file.h"

#include <cctype>
#include <cmath>
#include <string>
#include <string_view>
#include <utility>
#include <vector>
#include <vips/vips8>

#include "codec/document_file.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/document/units.h"

namespace qx::codec {
namespace fs = std::filesystem;
using vips::VImage;
namespace {

std::string LibraryMessage() {
  const std::string_view all = vips_error_buffer();
  std::string line = photo::Printable(all.substr(0, all.find('\n')));
  vips_error_clear();
  return line.empty() ? "no reason given" : line;
}

// From pixels a millimetre.
double PerInch(double perMillimetre) {
  const double dpi = perMillimetre * photo::kMillimetresPerInch;
  const double whole = std::round(dpi);
  // Half a pixel a metre, and a little for single precision.
  return std::abs(dpi - whole) < 0.5 * photo::kMillimetresPerInch / 1000 + 1e-4 ? whole : dpi;
}

std::vector<uint8_t> EncodeTiff(const photo::Image& image, int32_t dpi) {
  try {
    const VImage bgr = VImage::new_from_memory(const_cast<uint8_t*>(image.bgr.data()), image.bgr.size(), image.width,
                                               image.height, 3, VIPS_FORMAT_UCHAR);
    const VImage rgb = VImage::bandjoin({bgr[2], bgr[1], bgr[0]})
                           .copy(VImage::option()
                                     ->set("interpretation", VIPS_INTERPRETATION_sRGB)
                                     ->set("xres", dpi / photo::kMillimetresPerInch)
                                     ->set("yres", dpi / photo::kMillimetresPerInch));
    VipsBlob* blob = rgb.tiffsave_buffer(VImage::option()
                                             ->set("strip", true)
                                             ->set("compression", VIPS_FOREIGN_TIFF_COMPRESSION_LZW)
                                             ->set("predictor", VIPS_FOREIGN_TIFF_PREDICTOR_HORIZONTAL)
                                             ->set("resunit", VIPS_FOREIGN_TIFF_RESUNIT_INCH));
    size_t size = 0;
    const auto* bytes = static_cast<const uint8_t*>(vips_blob_get(blob, &size));
    std::vector<uint8_t> file(bytes, bytes + size);
    vips_area_unref(VIPS_AREA(blob));
    return file;
  } catch (const vips::VError&) {
    throw photo::Failure(photo::FailureCode::kOutOfMemory, "the sheet cannot be encoded (" + LibraryMessage() + ")");
  }
}

}  // namespace

std::optional<photo::PrintResolution> ReadPrintResolution(const fs::path& path) {
  try {
    // Through a source, because a name alone would be searched for options in brackets.
    const VImage image = VImage::new_from_source(vips::VSource::new_from_file(path.c_str()), "",
                                                 VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL));
    constexpr double kUnknown = 72;
    if (image.xres() == 1 && image.yres() == 1) return std::nullopt;
    photo::PrintResolution resolution{PerInch(image.xres()), PerInch(image.yres())};
    const bool possible =
        std::isfinite(resolution.x) && std::isfinite(resolution.y) && resolution.x > 0 && resolution.y > 0;
    if (!possible || (resolution.x == kUnknown && resolution.y == kUnknown)) return std::nullopt;
    // Orientations 5 to 8 lie on their side in the file.
    if (vips_image_get_orientation(image.get_image()) >= 5) std::swap(resolution.x, resolution.y);
    return resolution;
  } catch (const vips::VError&) {
    throw photo::Failure(photo::FailureCode::kDamagedFile,
                         "its resolution cannot be read (" + LibraryMessage() + "); save the photograph again");
  }
}

std::optional<PrintFormat> PrintFormatOfName(const fs::path& path) {
  if (const auto format = FormatOfName(path)) {
    return *format == ImageFormat::kJpeg ? PrintFormat::kJpeg : PrintFormat::kPng;
  }
  std::string ending = path.extension().native();
  for (char& c : ending) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (ending == ".tif" || ending == ".tiff") return PrintFormat::kTiff;
  return std::nullopt;
}

std::vector<uint8_t> EncodePrint(const photo::Image& image, PrintFormat format, int32_t dpi) {
  if (format == PrintFormat::kTiff) return EncodeTiff(image, dpi);
  const ImageFormat other = format == PrintFormat::kJpeg ? ImageFormat::kJpeg : ImageFormat::kPng;
  return EncodeDocument(image, other, dpi, std::nullopt, std::nullopt).bytes;
}

}  // namespace qx::codec
