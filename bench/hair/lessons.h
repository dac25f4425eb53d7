// What a small network learns hair from: the evidence of drawn scenes, and the truth.
#ifndef QX_BENCH_HAIR_LESSONS_H
#define QX_BENCH_HAIR_LESSONS_H

#include <cstdint>
#include <vector>

#include "bench/hair/scene.h"
#include "photo/person/mask.h"

namespace qx::bench::hair {

// For a sample of the unknown pixels of a scene, each HairEvidence::kValues values and the true alpha (0 to 1). The
// scene is reduced to another size for some seeds. The same seed gives the same lessons.
std::vector<float> MakeLessons(const Scene& scene, photo::PersonSegmenter& segmenter);

}  // namespace qx::bench::hair

#endif  // QX_BENCH_HAIR_LESSONS_H
