// Sizes and bounds of documents as people write them: 35x45mm, 3.5x4.5cm, 400x514px, 32-36mm, 70-80%.
#ifndef QX_PHOTO_DOCUMENT_UNITS_H
#define QX_PHOTO_DOCUMENT_UNITS_H

#include <cstdint>
#include <string>
#include <string_view>

namespace qx::photo {

enum class Unit { kMillimetre, kPixel, kPercent };

struct Size {
  double width = 0, height = 0;
  Unit unit = Unit::kMillimetre;  // or kPixel
};

struct Range {
  double min = 0, max = 0;
  Unit unit = Unit::kMillimetre;  // or kPercent, of a length that the context names
};

// "35x45mm", "3.5x4.5cm", "2x2in" (lengths become millimetres) or "400x514px" (whole numbers). Throws Failure, also for
// sides below 1 or above 10,000 millimetres or pixels.
Size ParseSize(std::string_view text);

// "32-36mm", "3.2-3.6cm", "1-1.4in" (lengths become millimetres), "70-80%" or one value, "34mm". Throws Failure, also
// when the first value is above the second or above 10,000 millimetres (100 percent).
Range ParseRange(std::string_view text);

inline constexpr double kMillimetresPerInch = 25.4;

// Pixels an inch, along the width and height of an upright picture.
struct PrintResolution {
  double x = 0, y = 0;
};

// How strongly a JPEG file was compressed, 1 to 100 as the Independent JPEG Group counts: the higher, the less.
struct JpegQuality {
  int32_t quality = 0;
  bool isExact = true;  // the file holds that quality's own tables; else the one whose tables come nearest
};

// Rounded to the nearest pixel, half up.
int32_t ToPixels(double millimetres, double dpi);
double ToMillimetres(double pixels, double dpi);

// As ParseSize and ParseRange read it, numbers with at most two decimals.
std::string ToText(const Size& size);
std::string ToText(const Range& range);

// "34", "31.5", "2.25": at most two decimals, none that are zero.
std::string Decimal(double value);

}  // namespace qx::photo

#endif  // QX_PHOTO_DOCUMENT_UNITS_H
