#include "bench/hair/lessons.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "bench/hair/random.h"
#include "photo/base/raster.h"
#include "photo/person/clean_plate.h"
#include "photo/person/hair_evidence.h"
#include "photo/person/head_crop.h"

namespace qx::bench::hair {
namespace {

constexpr int kLessons = 6000;  // of a scene, about

}  // namespace

std::vector<float> MakeLessons(const Scene& scene, photo::PersonSegmenter& segmenter) {
  Random random(scene.seed ^ 0x5EED0000u);
  photo::Image picture = scene.picture;
  photo::Mask truth = TrueMask(scene);
  photo::FaceBox face = scene.face;
  if (random.Chance(0.4f)) {
    const double scale = random.Between(80, 250) / face.Width();
    const int width = static_cast<int>(std::lround(picture.width * scale));
    const int height = static_cast<int>(std::lround(picture.height * scale));
    const double x = static_cast<double>(width) / picture.width, y = static_cast<double>(height) / picture.height;
    picture = photo::ResampleWhole(picture, width, height);
    truth = photo::ResampleWhole(truth, width, height);
    face = {face.left * x, face.top * y, face.right * x, face.bottom * y};
  }
  const photo::Rectangle whole{0, 0, static_cast<double>(picture.width), static_cast<double>(picture.height)};
  const photo::PersonMap map = segmenter.FindPersons(picture, {face});
  const std::optional<photo::HeadCrop> crop = CropHeads(map, picture, whole, {face}, {});
  photo::CleanPlate plate;
  std::vector<float> lessons;
  if (!crop || !EstimatePlate(*crop, &plate)) return lessons;
  const photo::PixelBox box{static_cast<int32_t>(std::lround(crop->window.left)),
                            static_cast<int32_t>(std::lround(crop->window.top)),
                            static_cast<int32_t>(std::lround(crop->window.Right())),
                            static_cast<int32_t>(std::lround(crop->window.Bottom()))};
  truth = photo::ResamplePart(truth, box, crop->mask.width, crop->mask.height);
  photo::HairEvidence evidence(*crop, plate);
  size_t unknown = 0;
  for (const uint8_t kind : evidence.Kinds().bits) unknown += kind == photo::HairEvidence::kUnknown;
  const float share = std::min(1.0f, static_cast<float>(kLessons) / static_cast<float>(std::max<size_t>(unknown, 1)));
  const auto stride = static_cast<size_t>(crop->mask.width);
  std::vector<int> columns(stride);
  std::vector<float> values(photo::HairEvidence::kValues * stride);
  for (int y = 0; y < crop->mask.height; ++y) {
    const size_t count = evidence.DescribeRow(y, columns.data(), values.data(), stride);
    for (size_t j = 0; j < count; ++j) {
      if (!random.Chance(share)) continue;
      for (size_t k = 0; k < photo::HairEvidence::kValues; ++k) lessons.push_back(values[k * stride + j]);
      lessons.push_back(static_cast<float>(truth.Row(y)[columns[j]]) / 255);
    }
  }
  return lessons;
}

}  // namespace qx::bench::hair
