// Backgrounds of drawn scenes.
#ifndef QX_BENCH_HAIR_BACKDROP_H
#define QX_BENCH_HAIR_BACKDROP_H

#include "bench/hair/paint.h"
#include "bench/hair/random.h"
#include "bench/hair/scene.h"
#include "bench/hair/sitter.h"

namespace qx::bench::hair {

// Three levels a pixel, of the person's size. The person's outline throws the shadows.
Plane DrawBackdrop(Backdrop kind, const Plane& person, const Sitter& sitter, Random& random);

}  // namespace qx::bench::hair

#endif  // QX_BENCH_HAIR_BACKDROP_H
