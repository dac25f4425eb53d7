#include "bench/hair/scene.h"

#include <cmath>
#include <opencv2/imgcodecs.hpp>

#include "bench/hair/backdrop.h"
#include "bench/hair/random.h"
#include "bench/hair/sitter.h"
#include "bench/hair/strands.h"

namespace qx::bench::hair {
namespace {

uint8_t ToByte(float level) {
  return static_cast<uint8_t>(static_cast<int>(std::clamp(level, 0.0f, 255.0f) + 0.5f));
}

// Mostly the same in all channels, as after a camera's own smoothing of colours.
void AddNoise(Plane& plane, float sigma, Random& random) {
  for (size_t i = 0; i < plane.values.size(); i += 3) {
    const float common = 0.8f * random.Normal();
    for (size_t c = 0; c < 3; ++c) plane.values[i + c] += sigma * (common + 0.6f * random.Normal());
  }
}

// Exposure and white balance, of the person and what is behind alike.
void Expose(Scene& scene, Random& random) {
  const float gain = random.Between(0.85f, 1.08f), warmth = random.Between(-0.05f, 0.05f);
  const float gains[] = {gain * (1 - warmth), gain, gain * (1 + warmth)};
  for (size_t i = 0; i < scene.person.Pixels(); ++i) {
    float* person = scene.person.values.data() + i * kLayerChannels;
    float* behind = scene.background.values.data() + 3 * i;
    for (size_t c = 0; c < 3; ++c) {
      person[c] = std::min(person[c] * gains[c], 255 * person[kAlpha]);
      behind[c] = std::min(behind[c] * gains[c], 255.0f);
    }
  }
}

void ThroughJpeg(photo::Image& picture, int quality) {
  const cv::Mat pixels(picture.height, picture.width, CV_8UC3, picture.bgr.data());
  std::vector<uint8_t> file;
  cv::imencode(".jpg", pixels, file, {cv::IMWRITE_JPEG_QUALITY, quality});
  const cv::Mat decoded = cv::imdecode(file, cv::IMREAD_COLOR);
  std::copy_n(decoded.data, picture.bgr.size(), picture.bgr.begin());
}

}  // namespace

const char* Name(Backdrop backdrop) {
  const char* const names[] = {"plain", "shadowed", "two-coloured", "textured", "out-of-focus"};
  return names[static_cast<int>(backdrop)];
}

const char* Name(HairKind kind) {
  const char* const names[] = {"compact", "loose", "curls", "short", "bun", "long"};
  return names[static_cast<int>(kind)];
}

const char* Name(HairColour colour) {
  const char* const names[] = {"black", "brown", "blonde", "red", "grey", "white"};
  return names[static_cast<int>(colour)];
}

Plane Composite(const Scene& scene) {
  Plane sum = scene.background;
  for (size_t i = 0; i < sum.Pixels(); ++i) {
    const float* person = scene.person.values.data() + i * kLayerChannels;
    for (size_t c = 0; c < 3; ++c) sum.values[3 * i + c] = person[c] + (1 - person[kAlpha]) * sum.values[3 * i + c];
  }
  return sum;
}

photo::Mask TrueMask(const Scene& scene) {
  photo::Mask mask(scene.person.width, scene.person.height);
  for (size_t i = 0; i < scene.person.Pixels(); ++i) {
    mask.values[i] = ToByte(255 * scene.person.values[i * kLayerChannels + kAlpha]);
  }
  return mask;
}

Scene MakeScene(uint32_t seed) {
  Scene scene;
  scene.seed = seed;
  scene.backdrop = static_cast<Backdrop>(seed % kBackdrops);
  scene.kind = static_cast<HairKind>(seed % kHairKinds);
  scene.colour = static_cast<HairColour>((seed % kHairKinds + 2 * (seed / kHairKinds)) % kHairColours);
  Random random(seed);
  const int width = 880 + 8 * random.Below(8), height = 1080 + 8 * random.Below(12);
  const Sitter sitter = MakeSitter(random, width, height, scene.colour);
  const float half = static_cast<float>(static_cast<int>(sitter.faceWidth / 2));
  auto whole = [](float x) { return static_cast<double>(std::lround(x)); };
  scene.face = {whole(sitter.centreX - half), whole(sitter.centreY - half), whole(sitter.centreX + half),
                whole(sitter.centreY + half)};
  scene.person = Plane(width, height, kLayerChannels);
  Hair hair(sitter, scene.kind, scene.colour, random);
  hair.DrawBehind(scene.person);
  DrawBody(scene.person, sitter, random);
  DrawHead(scene.person, sitter, random);
  hair.DrawInFront(scene.person);
  if (sitter.glasses) DrawGlasses(scene.person, sitter, random);
  scene.background = DrawBackdrop(scene.backdrop, scene.person, sitter, random);
  Expose(scene, random);
  Blur(scene.person, random.Between(0.3f, 0.8f));
  Plane picture = Composite(scene);
  AddNoise(picture, random.Between(0.7f, 3), random);
  scene.picture = photo::Image(width, height);
  for (size_t i = 0; i < picture.values.size(); ++i) scene.picture.bgr[i] = ToByte(picture.values[i]);
  if (random.Chance(0.4f)) ThroughJpeg(scene.picture, 75 + random.Below(18));
  return scene;
}

}  // namespace qx::bench::hair
