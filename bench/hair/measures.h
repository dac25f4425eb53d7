// How far a mask, and what is finished with it, is from the truth of a drawn scene.
#ifndef QX_BENCH_HAIR_MEASURES_H
#define QX_BENCH_HAIR_MEASURES_H

#include "bench/hair/scene.h"
#include "photo/base/geometry.h"
#include "photo/base/image.h"

namespace qx::bench::hair {

// Around the head: the face box and 1.1 face widths to the sides, 1.25 above, 0.9 below, within the picture.
photo::PixelBox Surroundings(const Scene& scene);

// All within the surroundings of the head; alpha 0 to 1. The first four as in C. Rhemann et al., "A Perceptually
// Motivated Online Benchmark for Image Matting", CVPR 2009.
struct MaskErrors {
  double sad = 0;       // sum of absolute differences
  double mse = 0;       // mean squared difference
  double gradient = 0;  // sum of squared differences of the gradients' magnitudes, Gaussian derivatives of sigma 1.4
  double connectivity = 0;  // sum of differences of the degrees to which pixels hang together with the person
  double left = 0;          // mean alpha within 0.15 face widths of the person where nothing of it is
  double hairLost =
      0;  // part of the hair outside of the compact head, and of all partly transparent hair, that is lost
};
MaskErrors Compare(const Scene& scene, const photo::Mask& mask);

// Mean absolute difference, in levels, of what is finished from the true foreground laid over the same colour, within
// 0.25 face widths of the true outline.
struct ColourErrors {
  double overBlue = 0, overWhite = 0;
};
ColourErrors Compare(const Scene& scene, const photo::Mask& mask, const photo::Image& colours);

// A picture laid over one colour.
photo::Image LayOver(const photo::Image& colours, const photo::Mask& mask, Colour behind);
// The true foreground over one colour, rounded.
photo::Image TrueOver(const Scene& scene, Colour behind);

constexpr Colour kStudioBlue{190, 110, 40};

}  // namespace qx::bench::hair

#endif  // QX_BENCH_HAIR_MEASURES_H
