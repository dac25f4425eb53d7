// The drawn person: where the parts of the head lie, and all of it but the hair.
#ifndef QX_BENCH_HAIR_SITTER_H
#define QX_BENCH_HAIR_SITTER_H

#include "bench/hair/paint.h"
#include "bench/hair/random.h"
#include "bench/hair/scene.h"

namespace qx::bench::hair {

// Places of the head are in face widths from the face box's centre, y downward: brows -0.3, eyes -0.19, mouth 0.24,
// chin 0.55, crown -0.86, ears at +-0.46.
struct Sitter {
  float centreX, centreY, faceWidth;
  float cosine, sine;  // of the head's tilt
  float jaw;           // how wide, about 1
  float light;         // side from which light comes, -1 to 1
  Colour skin, hair, cloth;
  bool glasses, shirt, earsShown;

  Place At(float x, float y) const {
    return {centreX + faceWidth * (x * cosine - y * sine), centreY + faceWidth * (x * sine + y * cosine)};
  }
  // Shoulders do not tilt with the head.
  Place Upright(float x, float y) const { return {centreX + faceWidth * x, centreY + faceWidth * y}; }
};

Sitter MakeSitter(Random& random, int width, int height, HairColour colour);

void DrawBody(Plane& layer, const Sitter& sitter, Random& random);  // clothes, neck, collar
void DrawHead(Plane& layer, const Sitter& sitter, Random& random);  // skull, ears, face
void DrawGlasses(Plane& layer, const Sitter& sitter, Random& random);

}  // namespace qx::bench::hair

#endif  // QX_BENCH_HAIR_SITTER_H
