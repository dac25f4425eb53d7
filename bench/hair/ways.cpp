#include "bench/hair/ways.h"

#include <utility>

#include "bench/hair/blur_fusion.h"
#include "photo/foreground/foreground.h"
#include "photo/person/hair.h"

namespace qx::bench::hair {
namespace {

photo::Rectangle Whole(const Scene& scene) {
  return {0, 0, static_cast<double>(scene.picture.width), static_cast<double>(scene.picture.height)};
}

}  // namespace

photo::PersonMap FindPerson(photo::PersonSegmenter& segmenter, const Scene& scene) {
  return segmenter.FindPersons(scene.picture, {scene.face});
}

Cutout MakeBefore(const Scene& scene, const photo::PersonMap& map) {
  photo::Mask mask = RefineMask(map, scene.picture, Whole(scene));
  photo::Image colours = BlurFusionColours(scene.picture, mask, scene.face.Width());
  return {std::move(mask), std::move(colours)};
}

Cutout MakeNow(const Scene& scene, photo::PersonMap map) {
  map.hair = FollowHair(map, scene.picture, Whole(scene), {scene.face});
  photo::Mask mask = RefineMask(map, scene.picture, Whole(scene));
  photo::Image colours = ColoursNow(scene, mask);
  return {std::move(mask), std::move(colours)};
}

photo::Image ColoursNow(const Scene& scene, const photo::Mask& mask) {
  return EstimateForeground(scene.picture, mask, scene.face.Width(), photo::Rim::kReduce);
}

}  // namespace qx::bench::hair
