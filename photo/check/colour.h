// From the bytes of sRGB to light and to what the eye sees of it.
#ifndef QX_PHOTO_CHECK_COLOUR_H
#define QX_PHOTO_CHECK_COLOUR_H

#include <array>
#include <cstdint>

namespace qx::photo {

// A place in CIELAB.
struct Lab {
  double l = 0, a = 0, b = 0;
};
// CIE 1976.
double Distance(const Lab& from, const Lab& to);

// Linear light, 0 to 1, of a byte's value (IEC 61966-2-1), 0 to 255 with fractions.
double LinearLight(double value);

// Luminance in linear light, 0 to 255: mid grey gives 55. bgr: three bytes.
uint8_t Luminance(const uint8_t* bgr);

// Brightness as it is stored (ITU-R BT.601), 0 to 255.
double Luma(const uint8_t* bgr);

// CIELAB under D50, with the constants of ISO/IEC 29794-5's reference. bgr: 0 to 255.
Lab ToLab(const std::array<double, 3>& bgr);
Lab ToLab(const uint8_t* bgr);

}  // namespace qx::photo

#endif  // QX_PHOTO_CHECK_COLOUR_H
