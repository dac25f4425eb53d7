#include "bench/hair/ways.h"

#include "bench/hair/blur_fusion.h"
#include "photo/person/foreground.h"
#if QX_BENCH_FOLLOWS_HAIR
#include "photo/person/hair.h"
#endif

namespace qx::bench::hair {

Cutout MakeBefore(photo::PersonSegmenter& segmenter, const Scene& scene) {
  const photo::Rectangle whole{0, 0, static_cast<double>(scene.picture.width),
                               static_cast<double>(scene.picture.height)};
  photo::Mask mask = RefineMask(segmenter.FindPersons(scene.picture, {scene.face}), scene.picture, whole);
  photo::Image colours = BlurFusionColours(scene.picture, mask, scene.face.Width());
  return {std::move(mask), std::move(colours)};
}

bool HasNow() {
  return QX_BENCH_FOLLOWS_HAIR != 0;
}

// ===== The one place where today's way is called. =====
Cutout MakeNow(const Scene& scene, const Cutout& before) {
#if QX_BENCH_FOLLOWS_HAIR
  photo::Mask mask = FollowHair(scene.picture, before.mask, {scene.face}).mask;
#else
  photo::Mask mask = before.mask;
#endif
  photo::Image colours = EstimateForeground(scene.picture, mask, scene.face.Width(), photo::Rim::kReduce);
  return {std::move(mask), std::move(colours)};
}

photo::Image ColoursNow(const Scene& scene, const photo::Mask& mask) {
  return EstimateForeground(scene.picture, mask, scene.face.Width(), photo::Rim::kReduce);
}

}  // namespace qx::bench::hair
