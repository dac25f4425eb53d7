#include "bench/hair/times.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "bench/hair/blur_fusion.h"
#include "bench/hair/scene.h"
#include "bench/hair/ways.h"
#include "photo/base/raster.h"
#include "photo/foreground/foreground.h"
#include "photo/person/hair.h"

namespace qx::bench::hair {
namespace {

constexpr int kRuns = 3;
constexpr double kFace = 236;  // pixels of the document at 300 dpi: 20 of 35 millimetres
constexpr int kWidth = 413, kHeight = 531;
constexpr double kFineness = 2;  // pixels of the part for one of the document

template <typename Work>
double Least(Work work) {
  double least = 1e9;
  for (int run = 0; run < kRuns; ++run) {
    const std::clock_t start = std::clock();
    work();
    least = std::min(least, 1000.0 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
  }
  return least;
}

struct Times {
  double before = 0, follow = 0, lay = 0, colours = 0;
  double Added() const { return follow + lay + colours; }
};

// The part of a photograph that a passport photograph of so many times 300 dpi needs.
Times TimeScene(const Scene& scene, const photo::PersonMap& found, double scale) {
  const double face = kFineness * scale * kFace, toScene = scene.face.Width() / face;
  const auto size = [scale](int pixels) { return static_cast<int>(std::lround(kFineness * scale * pixels)); };
  const double left = (scene.face.left + scene.face.right - size(kWidth) * toScene) / 2;
  const double top = scene.face.bottom - 0.72 * size(kHeight) * toScene;
  const auto clip = [](double v, int32_t most) { return std::clamp(static_cast<int32_t>(v), 0, most); };
  const photo::PixelBox box{clip(left, scene.picture.width - 2), clip(top, scene.picture.height - 2),
                            clip(left + size(kWidth) * toScene, scene.picture.width),
                            clip(top + size(kHeight) * toScene, scene.picture.height)};
  const photo::Image part = ResamplePart(scene.picture, box, static_cast<int>(box.Width() / toScene),
                                         static_cast<int>(box.Height() / toScene));
  const photo::Rectangle window{static_cast<double>(box.left), static_cast<double>(box.top),
                                static_cast<double>(box.Width()), static_cast<double>(box.Height())};
  const photo::Rectangle whole{0, 0, static_cast<double>(scene.picture.width),
                               static_cast<double>(scene.picture.height)};
  photo::PersonMap map = found;
  photo::Mask before, now;
  Times times;
  const double mask = Least([&] { before = RefineMask(map, part, window); });
  times.before = mask + Least([&] { BlurFusionColours(part, before, face); });
  times.follow = Least([&] { map.hair = FollowHair(found, scene.picture, whole, {scene.face}); });
  times.lay = Least([&] { now = RefineMask(map, part, window); }) - mask;
  times.colours = Least([&] { EstimateForeground(part, now, face, photo::Rim::kReduce); }) - (times.before - mask);
  return times;
}

}  // namespace

void PrintTimes(uint32_t firstSeed, uint32_t lastSeed) {
  photo::PersonSegmenter segmenter;
  std::array<Times, 2> sums{};
  std::array<double, 2> most{};
  for (uint32_t seed = firstSeed; seed <= lastSeed; ++seed) {
    const Scene scene = MakeScene(seed);
    const photo::PersonMap found = FindPerson(segmenter, scene);
    for (size_t i = 0; i < sums.size(); ++i) {
      const Times times = TimeScene(scene, found, i == 0 ? 1 : 2);
      sums[i].before += times.before;
      sums[i].follow += times.follow;
      sums[i].lay += times.lay;
      sums[i].colours += times.colours;
      most[i] = std::max(most[i], times.Added());
    }
  }
  const double count = lastSeed - firstSeed + 1;
  std::printf(
      "| ms of one thread, mean | mask and colours before | hair followed | laid into the mask | colours, more than "
      "before | added | added, most |\n|---|---|---|---|---|---|---|\n");
  for (size_t i = 0; i < sums.size(); ++i) {
    std::printf("| %d dpi | %.1f | %.1f | %.1f | %.1f | %.1f | %.1f |\n", i == 0 ? 300 : 600, sums[i].before / count,
                sums[i].follow / count, sums[i].lay / count, sums[i].colours / count, sums[i].Added() / count, most[i]);
  }
}

}  // namespace qx::bench::hair
