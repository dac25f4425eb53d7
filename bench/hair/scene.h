// Drawn head-and-shoulders scenes whose alpha and foreground colours are known exactly.
#ifndef QX_BENCH_HAIR_SCENE_H
#define QX_BENCH_HAIR_SCENE_H

#include <cstdint>

#include "bench/hair/paint.h"
#include "photo/base/geometry.h"
#include "photo/base/image.h"

namespace qx::bench::hair {

enum class Backdrop { kPlain, kShadowed, kTwoColoured, kTextured, kOutOfFocus };
constexpr int kBackdrops = 5;
const char* Name(Backdrop backdrop);

enum class HairKind { kCompact, kLoose, kCurls, kShort, kBun, kLong };
constexpr int kHairKinds = 6;
const char* Name(HairKind kind);

enum class HairColour { kBlack, kBrown, kBlonde, kRed, kGrey, kWhite };
constexpr int kHairColours = 6;
const char* Name(HairColour colour);

struct Scene {
  uint32_t seed = 0;
  Backdrop backdrop{};
  HairKind kind{};
  HairColour colour{};
  photo::FaceBox face;   // as a face finder would give it
  photo::Image picture;  // finished like a photograph: lens blur, sensor noise, for some JPEG
  Plane person;          // kLayerChannels a pixel: colours times alpha (levels), alpha (0 to 1), hair's part of it
  Plane background;      // three levels a pixel
};

// The same seed gives the same bytes on every machine. Thirty seeds in a row have every kind of hair before every kind
// of backdrop once.
Scene MakeScene(uint32_t seed);

// The person over the background, before noise.
Plane Composite(const Scene& scene);

// True alpha in bytes.
photo::Mask TrueMask(const Scene& scene);

}  // namespace qx::bench::hair

#endif  // QX_BENCH_HAIR_SCENE_H
