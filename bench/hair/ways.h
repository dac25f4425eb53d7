// The two ways that are compared: the person's mask and colours as they were, and as they are now.
#ifndef QX_BENCH_HAIR_WAYS_H
#define QX_BENCH_HAIR_WAYS_H

#include "bench/hair/scene.h"
#include "photo/base/image.h"
#include "photo/person/mask.h"

namespace qx::bench::hair {

struct Cutout {
  photo::Mask mask;
  photo::Image colours;
};

// The persons as the network finds them, which both ways begin with.
photo::PersonMap FindPerson(photo::PersonSegmenter& segmenter, const Scene& scene);

// The network's mask, its outline led along the edges, and blur fusion.
Cutout MakeBefore(const Scene& scene, const photo::PersonMap& map);
Cutout MakeNow(const Scene& scene, photo::PersonMap map);

// The colours alone, given the true mask.
photo::Image ColoursNow(const Scene& scene, const photo::Mask& mask);

}  // namespace qx::bench::hair

#endif  // QX_BENCH_HAIR_WAYS_H
