// The finished photograph's lightness, colours and sharpness.
#ifndef QX_PHOTO_RENDER_ADJUST_H
#define QX_PHOTO_RENDER_ADJUST_H

#include "photo/base/image.h"

namespace qx::photo {

// What to change and how strongly, each from -kMostAdjustment to kMostAdjustment; 0 leaves it alone.
struct Adjustment {
  double brightness = 0;      // darker to brighter; black and white stay
  double contrast = 0;        // flatter to steeper around a grey between middle grey and skin; black and white stay
  double saturation = 0;      // grey to twice as colourful, in the same hues
  double temperature = 0;     // bluer to yellower, 6 mired a unit along the daylight locus
  double tint = 0;            // greener to more magenta, 0.002 a unit across it (CIE 1960)
  double sharpness = 0;       // softer to sharper
  bool whiteBalance = false;  // take away the cast of the light, where one is found

  bool IsNone() const {
    return brightness == 0 && contrast == 0 && saturation == 0 && temperature == 0 && tint == 0 && sharpness == 0 &&
           !whiteBalance;
  }
};

inline constexpr double kMostAdjustment = 10;

// The colour that a grey has in the photograph: its a and b in Oklab, for a lightness of 1; 0 and 0 without a cast.
struct Cast {
  double a = 0, b = 0;
};

// Throws Failure (kBadOption) when a strength is out of its range.
void CheckRanges(const Adjustment& adjustment);

// Changes a picture of its final size in place; `cast` is taken away first. Lightness is that of Oklab (B. Ottosson, "A
// perceptual color space for image processing", 2020), led through curves with fixed ends (C. Schlick, "Fast
// Alternatives to Perlin's Bias and Gain Functions", 1994), so that nothing is clipped; a colour keeps its hue and, but
// for `saturation`, its chromaticity, as if there were more or less light. The white balance weighs the cone responses
// (J. von Kries, 1902) and keeps the luminance of greys. What would leave sRGB comes nearer to the grey of its
// luminance, smoothly; white therefore stays white unless something else darkens it. The sharpness is an unsharp mask
// of luma alone over 5 x 5 pixels: it passes over differences below 1.5 levels, and goes beyond the lightest and
// darkest neighbour by at most 3. Throws Failure as CheckRanges does, the picture untouched.
void Adjust(const Adjustment& adjustment, const Cast& cast, Image* picture);

// The same for a person before a background that keeps every byte. `own`: the person's own colours, not multiplied by
// `alpha`, both of the size of `finished`, in which the person stands before the background. `own` is changed as well.
void AdjustPerson(const Adjustment& adjustment, const Cast& cast, const Mask& alpha, Image* own, Image* finished);

}  // namespace qx::photo

#endif  // QX_PHOTO_RENDER_ADJUST_H
