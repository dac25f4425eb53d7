// Oklab (B. Ottosson, "A perceptual color space for image processing", 2020), of plain operations alone: the C
// library's powers and roots have other last bits on other processors.
#ifndef QX_PHOTO_RENDER_OKLAB_H
#define QX_PHOTO_RENDER_OKLAB_H

#include <cstdint>

namespace qx::photo {

// Linear light of sRGB, 0 to 1, in the order blue, green, red.
struct LinearColour {
  double blue = 0, green = 0, red = 0;
};

// What Oklab takes for the responses of the eye's cones; 1, 1, 1 for white.
struct Cones {
  double l = 0, m = 0, s = 0;
};

struct Oklab {
  double l = 0, a = 0, b = 0;
};

double CubeRoot(double value);  // of 0 and above; relative error below 1e-12

// Of a level of sRGB, 0 to 255 (IEC 61966-2-1), and back: the level with its fraction. Values outside are clamped.
double LinearOf(uint8_t level);
double LevelOf(double linear);

Cones ConesOf(const LinearColour& colour);
LinearColour ColourOf(const Cones& cones);
Oklab OklabOf(const Cones& cones);       // responses of 0 and above
Oklab OklabOfRoots(const Cones& roots);  // of the cube roots of responses
Cones ConesOf(const Oklab& colour);

double LuminanceOf(const LinearColour& colour);

}  // namespace qx::photo

#endif  // QX_PHOTO_RENDER_OKLAB_H
